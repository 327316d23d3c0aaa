// What the host's tests need of a test framework. Cases register themselves; the program understands the two options
// with which ctest asks a GoogleTest program for its suites and runs one of them.
#pragma once

namespace Abi
{

class Case
{
public:
    Case(const char* suite, const char* name, void (*body)());

    const char* suite;
    const char* name;
    void (*body)();
    Case* next = nullptr; // in the order of registration
};

// Runs the cases that the command line asks for; returns the process's exit code.
int RunCases(const char* commandLine);

void ReportFailure(const char* file, int line, const char* expression, const char* details);

template <class Value>
struct AsNumber
{
    static long long Of(Value value) { return static_cast<long long>(value); }
};

template <class Target>
struct AsNumber<Target*>
{
    static long long Of(Target* value) { return reinterpret_cast<long long>(value); }
};

template <>
struct AsNumber<decltype(nullptr)>
{
    static long long Of(decltype(nullptr)) { return 0; }
};

void CheckNumbers(const char* file, int line, const char* expression, long long expected, long long actual);
void CheckTexts(const char* file, int line, const char* expression, const wchar_t* expected, const wchar_t* actual);
void CheckTexts(const char* file, int line, const char* expression, const char* expected, const char* actual);

template <class Expected, class Actual>
void CheckEqual(const char* file, int line, const char* expression, Expected expected, Actual actual)
{
    CheckNumbers(file, line, expression, AsNumber<Expected>::Of(expected), AsNumber<Actual>::Of(actual));
}

} // namespace Abi

#define ABI_TEST(suite, name)                                                                                          \
    static void suite##_##name();                                                                                      \
    static Abi::Case suite##_##name##_Case{#suite, #name, &suite##_##name};                                            \
    static void suite##_##name()

#define CHECK(condition)                                                                                               \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(condition))                                                                                              \
        {                                                                                                              \
            Abi::ReportFailure(__FILE__, __LINE__, #condition, "is false");                                            \
        }                                                                                                              \
    } while (false)

// Goes on after a failure, as CHECK does.
#define CHECK_EQUAL(expected, actual) Abi::CheckEqual(__FILE__, __LINE__, #actual, expected, actual)
#define CHECK_TEXT(expected, actual) Abi::CheckTexts(__FILE__, __LINE__, #actual, expected, actual)
