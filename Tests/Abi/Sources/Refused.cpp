// What Visual Studio refuses, to show that it does not pass here: clang's -verify takes this file only if each error
// that a comment expects is reported, and no other.

#include <windows.h>

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cwchar>
#include <thread>

namespace
{

constexpr std::array Numbers = {1, 2};

struct Base
{
    int count = 0;
};

struct Derived : Base
{
    static int Twice(int count) // expected-error {{parameter 'count' shadows member inherited from type 'Base'}}
    {
        return 2 * count;
    }
};

} // namespace

// Iterators of arrays are classes.
const int* Find()
{
    const auto* const found = std::ranges::find(Numbers, 2); // expected-error {{has incompatible initializer}}
    return found;
}

// Headers include no more than they need.
using Action = std::function<void()>; // expected-error {{no template named 'function' in namespace 'std'}}

// windows.h has the macro GetObject, and newer releases of RapidJSON keep it away from their function.
bool HasMembers(const rapidjson::Document& document)
{
    return document.GetObject().MemberCount() > 0; // expected-error {{no member named 'GetObjectW'}}
}

// The run time's functions without a limit, and those whose twin tells more, are deprecated.
int Print(wchar_t* text, std::va_list arguments)
{
    return _vsnwprintf(text, 1, L"%s", arguments); // expected-error {{'_vsnwprintf' is deprecated: C4996}}
}

int Scan(const wchar_t* text, int* number)
{
    return std::swscanf(text, L"%d", number); // expected-error {{'swscanf' is deprecated: C4996}}
}
