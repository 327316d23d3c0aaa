#include "Tests/Launcher/FakeUserSession.h"

#include "Tests/Support/FillText.h"
#include "Tests/Support/Show.h"
#include "Tests/Support/Text.h"

#include <userenv.h>
#include <wtsapi32.h>

#include <algorithm>
#include <cstring>

namespace Zv::Testing
{

namespace
{

std::wstring Hex(std::uint64_t value)
{
    return Format(L"0x%I64x", value);
}

std::wstring Length(const UINT32* length)
{
    return std::to_wstring(*length);
}

} // namespace

FakeUserSession::FakeUserSession(PlatformCalls& calls, Transcript& transcript, Ledgers& ledgers)
    : m_platform{calls},
      m_transcript{transcript},
      m_ledgers{ledgers}
{
    AnswerTokens();
    AnswerProfile();
    AnswerPackages();
    AnswerPackageInfo();
    AnswerAttributeLists();
    AnswerProcesses();
    AnswerHandles();
}

template <Name Function, class Signature, class Work>
void FakeUserSession::Answer(Work work)
{
    m_platform.Replace<Function, Signature>(work);
    m_platform.Watch<Function, Signature>(Traced::No); // Enter writes the line
}

bool FakeUserSession::Enter(const char* function, const std::wstring& arguments)
{
    m_transcript.Add(Widen(function) + L"(" + arguments + L")");
    if (onCall)
    {
        onCall(function);
    }
    return Fails(function);
}

bool FakeUserSession::Fails(const char* function)
{
    const int call = ++m_counts[function];
    const std::vector<int>& failing = m_failing[function];
    const bool fails = ++m_calls == m_failingCall ||
                       std::any_of(failing.begin(), failing.end(), [call](int n) { return n == call || n == Every; });
    if (fails)
    {
        SetLastError(lastError);
    }
    return fails;
}

HANDLE FakeUserSession::NewHandle(const std::wstring& name)
{
    const HANDLE handle = reinterpret_cast<HANDLE>(m_nextHandle += 4);
    const int number = ++m_namesGiven[name];
    m_names[handle] = number == 1 ? name : name + L" " + std::to_wstring(number);
    m_ledgers.handles.Taken(handle, m_names[handle]);
    return handle;
}

std::wstring FakeUserSession::NameOf(const void* handle) const
{
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE)
    {
        return handle == nullptr ? L"null" : L"invalid";
    }
    const auto found = m_names.find(handle);
    return found != m_names.end() ? found->second : L"unknown";
}

std::shared_ptr<void> FakeUserSession::Token(const wchar_t* name)
{
    const HANDLE handle = NewHandle(name);
    m_ledgers.handles.Given(handle);
    return {handle, [](void*) {}};
}

const FakePackage* FakeUserSession::PackageOf(const std::wstring& fullName) const
{
    for (const auto& [family, packages] : families)
    {
        for (const FakePackage& package : packages)
        {
            if (package.fullName == fullName)
            {
                return &package;
            }
        }
    }
    return nullptr;
}

std::wstring FakeUserSession::Expand(std::wstring path) const
{
    for (const auto& [name, value] : variables)
    {
        if (const std::size_t at = path.find(name); at != std::wstring::npos)
        {
            path.replace(at, name.size(), value);
        }
    }
    return path;
}

void FakeUserSession::AnswerTokens()
{
    Answer<"WTSGetActiveConsoleSessionId", decltype(WTSGetActiveConsoleSessionId)>(
        [this]() -> DWORD { return Enter("WTSGetActiveConsoleSessionId", L"") ? 0xFFFFFFFF : sessionId; });
    Answer<"WTSQueryUserToken", decltype(WTSQueryUserToken)>([this](ULONG session, HANDLE* token) -> BOOL {
        if (Enter("WTSQueryUserToken", std::to_wstring(session) + L", " + NameOf(*token)))
        {
            return FALSE;
        }
        *token = NewHandle(L"user token");
        return TRUE;
    });
    Answer<"DuplicateTokenEx", decltype(DuplicateTokenEx)>([this](HANDLE token, DWORD access,
                                                                  SECURITY_ATTRIBUTES* attributes,
                                                                  SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type,
                                                                  HANDLE* duplicate) -> BOOL {
        if (Enter("DuplicateTokenEx", NameOf(token) + L", " + Hex(access) +
                                          Format(L", {%lu, %s, %d}, %d, %d, ", attributes->nLength,
                                                 attributes->lpSecurityDescriptor != nullptr ? L"descriptor" : L"null",
                                                 attributes->bInheritHandle, level, type) +
                                          NameOf(*duplicate)))
        {
            return FALSE;
        }
        *duplicate = NewHandle(type == TokenPrimary ? L"primary token" : L"impersonation token");
        return TRUE;
    });
    Answer<"ImpersonateLoggedOnUser", decltype(ImpersonateLoggedOnUser)>([this](HANDLE token) -> BOOL {
        const bool fails = Enter("ImpersonateLoggedOnUser", NameOf(token));
        return !fails && token != nullptr && token != INVALID_HANDLE_VALUE;
    });
    Answer<"RevertToSelf", decltype(RevertToSelf)>([this]() -> BOOL {
        const bool fails = Enter("RevertToSelf", L"");
        m_ledgers.impersonations -= fails ? 1 : 0; // asked for it: all that a caller can do
        return !fails;
    });
}

void FakeUserSession::AnswerProfile()
{
    Answer<"ExpandEnvironmentStringsForUserW", decltype(ExpandEnvironmentStringsForUserW)>(
        [this](HANDLE token, const wchar_t* path, wchar_t* buffer, DWORD size) -> BOOL {
            if (Enter("ExpandEnvironmentStringsForUserW",
                      NameOf(token) + L", " + Show(path) + L", " + std::to_wstring(size)))
            {
                return FALSE;
            }
            const std::wstring expanded = Expand(path);
            if (expanded.size() >= size)
            {
                SetLastError(ERROR_INSUFFICIENT_BUFFER);
                return FALSE;
            }
            std::fill_n(buffer, size, L'\xABCD'); // a buffer smaller than the size told would be overrun
            std::copy_n(expanded.c_str(), expanded.size() + 1, buffer);
            return TRUE;
        });
    Answer<"CreateEnvironmentBlock", decltype(CreateEnvironmentBlock)>(
        [this](void** block, HANDLE token, BOOL inherit) -> BOOL {
            if (Enter("CreateEnvironmentBlock", NameOf(token) + L", " + std::to_wstring(inherit)))
            {
                return FALSE;
            }
            *block = m_environment.data();
            m_names[*block] = L"environment";
            return TRUE;
        });
    Answer<"DestroyEnvironmentBlock", decltype(DestroyEnvironmentBlock)>([this](void* block) -> BOOL {
        Enter("DestroyEnvironmentBlock", NameOf(block));
        SetLastError(ERROR_GEN_FAILURE); // whoever reads the error too late reads this
        return TRUE;
    });
}

void FakeUserSession::AnswerPackages()
{
    Answer<"FindPackagesByPackageFamily", decltype(FindPackagesByPackageFamily)>(
        [this](PCWSTR family, UINT32 filters, UINT32* count, PWSTR* names, UINT32* length, WCHAR* buffer,
               UINT32* properties) -> LONG {
            if (Enter("FindPackagesByPackageFamily", Show(family) + L", " + Hex(filters) + L", " + Length(count) +
                                                         L", " + Show(names) + L", " + Length(length) + L", " +
                                                         Show(buffer) + L", " + Show(properties)))
            {
                return ERROR_ACCESS_DENIED;
            }
            const std::vector<FakePackage>& packages = families[family];
            const UINT32 countGiven = std::exchange(*count, static_cast<UINT32>(packages.size()));
            UINT32 needed = 0;
            for (const FakePackage& package : packages)
            {
                needed += static_cast<UINT32>(package.fullName.size() + 1);
            }
            const UINT32 lengthGiven = std::exchange(*length, needed);
            if (needed > lengthGiven || *count > countGiven)
            {
                return ERROR_INSUFFICIENT_BUFFER;
            }
            for (const FakePackage& package : packages)
            {
                *names++ = buffer;
                *properties++ = package.properties;
                buffer = std::copy_n(package.fullName.c_str(), package.fullName.size() + 1, buffer);
            }
            return ERROR_SUCCESS;
        });
    Answer<"GetPackagePathByFullName", decltype(GetPackagePathByFullName)>(
        [this](PCWSTR fullName, UINT32* length, PWSTR path) -> LONG {
            const bool fails = Enter("GetPackagePathByFullName",
                                     Show(fullName) + L", " + Length(length) + L", " + Show(static_cast<void*>(path)));
            const FakePackage* const package = PackageOf(fullName);
            if (fails || package == nullptr)
            {
                return ERROR_NOT_FOUND;
            }
            return FillText(package->folder, length, path);
        });
    Answer<"GetStagedPackageOrigin", decltype(GetStagedPackageOrigin)>(
        [this](PCWSTR fullName, PackageOrigin* origin) -> LONG {
            const bool fails = Enter("GetStagedPackageOrigin", Show(fullName));
            const FakePackage* const package = PackageOf(fullName);
            if (fails || package == nullptr || !package->origin)
            {
                return ERROR_NOT_FOUND;
            }
            *origin = *package->origin;
            return ERROR_SUCCESS;
        });
}

void FakeUserSession::AnswerPackageInfo()
{
    Answer<"OpenPackageInfoByFullName", decltype(OpenPackageInfoByFullName)>(
        [this](PCWSTR fullName, UINT32 reserved, PACKAGE_INFO_REFERENCE* reference) -> LONG {
            const bool fails = Enter("OpenPackageInfoByFullName", Show(fullName) + L", " + std::to_wstring(reserved));
            const FakePackage* const package = PackageOf(fullName);
            if (fails || package == nullptr)
            {
                return ERROR_NOT_FOUND;
            }
            *reference = reinterpret_cast<PACKAGE_INFO_REFERENCE>(const_cast<FakePackage*>(package));
            m_names[*reference] = L"info";
            m_ledgers.handles.Taken(*reference, L"package info");
            return ERROR_SUCCESS;
        });
    Answer<"GetPackageInfo", decltype(GetPackageInfo)>(
        [this](PACKAGE_INFO_REFERENCE reference, UINT32 flags, UINT32* length, BYTE* buffer, UINT32* count) -> LONG {
            if (Enter("GetPackageInfo", NameOf(reference) + L", " + Hex(flags) + L", " + Length(length) + L", " +
                                            Show(static_cast<void*>(buffer)) + L", " + Length(count)))
            {
                return ERROR_ACCESS_DENIED;
            }
            constexpr UINT32 size = sizeof(PACKAGE_INFO) + 16;
            *count = infoCount;
            const UINT32 given = std::exchange(*length, size);
            if (successfulInfoQuery)
            {
                return ERROR_SUCCESS;
            }
            if (buffer == nullptr || given < size)
            {
                return ERROR_INSUFFICIENT_BUFFER;
            }
            PACKAGE_INFO info{};
            info.packageId.version.Version = reinterpret_cast<const FakePackage*>(reference)->version;
            std::memset(buffer, 0xCD, size);
            std::memcpy(buffer, &info, sizeof info);
            return ERROR_SUCCESS;
        });
    Answer<"ClosePackageInfo", decltype(ClosePackageInfo)>([this](PACKAGE_INFO_REFERENCE reference) -> LONG {
        Enter("ClosePackageInfo", NameOf(reference));
        m_ledgers.handles.Given(reference);
        return ERROR_SUCCESS;
    });
}

void FakeUserSession::AnswerAttributeLists()
{
    Answer<"InitializeProcThreadAttributeList", decltype(InitializeProcThreadAttributeList)>(
        [this](LPPROC_THREAD_ATTRIBUTE_LIST list, DWORD count, DWORD flags, SIZE_T* size) -> BOOL {
            const bool fails = Enter("InitializeProcThreadAttributeList",
                                     NameOf(list) + Format(L", %lu, %lu, %I64u", count, flags, *size));
            if (list == nullptr)
            {
                *size = fails ? 0 : attributeListSize;
                SetLastError(ERROR_INSUFFICIENT_BUFFER);
                return FALSE;
            }
            if (!fails)
            {
                m_names[list] = L"list";
                m_ledgers.handles.Taken(reinterpret_cast<const char*>(list) + 1, L"attribute list");
            }
            return !fails;
        });
    Answer<"UpdateProcThreadAttribute", decltype(UpdateProcThreadAttribute)>(
        [this](LPPROC_THREAD_ATTRIBUTE_LIST list, DWORD flags, DWORD_PTR attribute, void* value, SIZE_T size,
               void* previous, SIZE_T* returnSize) -> BOOL {
            std::wstring handles;
            for (SIZE_T at = 0; at < size / sizeof(HANDLE); ++at)
            {
                handles +=
                    (at != 0 ? L" " : L"") + Hex(reinterpret_cast<std::uintptr_t>(static_cast<HANDLE*>(value)[at]));
            }
            return !Enter("UpdateProcThreadAttribute", NameOf(list) + Format(L", %lu, 0x%I64x, [", flags, attribute) +
                                                           handles + L"], " + std::to_wstring(size) + L", " +
                                                           Show(previous) + L", " + Show(returnSize));
        });
    Answer<"DeleteProcThreadAttributeList", void(LPPROC_THREAD_ATTRIBUTE_LIST)>(
        [this](LPPROC_THREAD_ATTRIBUTE_LIST list) {
            Enter("DeleteProcThreadAttributeList", NameOf(list));
            m_ledgers.handles.Given(reinterpret_cast<const char*>(list) + 1);
        });
    Answer<"HeapAlloc", decltype(HeapAlloc)>([this](HANDLE heap, DWORD flags, SIZE_T size) -> void* {
        if (Enter("HeapAlloc",
                  Format(L"%s, %lu, %I64u", heap == GetProcessHeap() ? L"process heap" : L"?", flags, size)))
        {
            return nullptr;
        }
        void* const block = ::HeapAlloc(heap, flags, size);
        m_names[block] = L"block";
        m_ledgers.handles.Taken(block, L"heap block");
        return block;
    });
    Answer<"HeapFree", decltype(HeapFree)>([this](HANDLE heap, DWORD flags, void* block) -> BOOL {
        Enter("HeapFree",
              Format(L"%s, %lu, ", heap == GetProcessHeap() ? L"process heap" : L"?", flags) + NameOf(block));
        m_ledgers.handles.Given(block);
        return ::HeapFree(heap, flags, block);
    });
}

std::wstring FakeUserSession::ShowStartup(const STARTUPINFOW* startup) const
{
    const auto* const extended = reinterpret_cast<const STARTUPINFOEXW*>(startup);
    STARTUPINFOEXW expected{};
    expected.StartupInfo.cb = startup->cb;
    expected.lpAttributeList = extended->lpAttributeList;
    return L"{" + std::to_wstring(startup->cb) + L", " +
           (std::memcmp(extended, &expected, sizeof expected) == 0 ? L"zeros" : L"other fields set") + L", " +
           NameOf(extended->lpAttributeList) + L"}";
}

void FakeUserSession::AnswerProcesses()
{
    Answer<"CreateProcessAsUserW", decltype(CreateProcessAsUserW)>(
        [this](HANDLE token, const wchar_t* application, wchar_t* commandLine, SECURITY_ATTRIBUTES* process,
               SECURITY_ATTRIBUTES* thread, BOOL inherit, DWORD flags, void* environment, const wchar_t* directory,
               STARTUPINFOW* startup, PROCESS_INFORMATION* information) -> BOOL {
            const bool fails = Enter(
                "CreateProcessAsUserW",
                NameOf(token) + L", " + Show(application) + L", " + Show(static_cast<const wchar_t*>(commandLine)) +
                    L", " + Show(process) + L", " + Show(thread) + L", " + std::to_wstring(inherit) + L", " +
                    Hex(flags) + L", " + NameOf(environment) + L", " + Show(directory) + L", " + ShowStartup(startup));
            commandLine[0] = L'!'; // the platform may write there
            if (fails)
            {
                return FALSE;
            }
            *information = {NewHandle(L"process"), NewHandle(L"thread"), 4242, 4243};
            return TRUE;
        });
}

void FakeUserSession::AnswerHandles()
{
    Answer<"CloseHandle", decltype(CloseHandle)>([this](HANDLE handle) -> BOOL {
        Enter("CloseHandle", NameOf(handle));
        SetLastError(ERROR_GEN_FAILURE);
        return TRUE;
    });
}

} // namespace Zv::Testing
