// Windows declarations that not every SDK has. With Microsoft's SDK this only includes its headers; what MinGW-w64's
// lack is declared here, with the names, layouts and values that Microsoft documents.
#pragma once

#include <windows.h>

#include <rpc.h>
#include <rpcasync.h>

#if __has_include(<appmodel.h>)

#include <appmodel.h>

#else

inline constexpr UINT32 PACKAGE_FILTER_HEAD = 0x10;
inline constexpr UINT32 PACKAGE_FILTER_DIRECT = 0x20;
inline constexpr UINT32 PACKAGE_FILTER_RESOURCE = 0x40;
inline constexpr UINT32 PACKAGE_FILTER_BUNDLE = 0x80;

// Major in the top 16 bits, then minor, build and revision.
struct PACKAGE_VERSION
{
    UINT64 Version;
};

struct PACKAGE_ID
{
    UINT32 reserved;
    UINT32 processorArchitecture;
    PACKAGE_VERSION version;
    PWSTR name;
    PWSTR publisher;
    PWSTR resourceId;
    PWSTR publisherId;
};

struct PACKAGE_INFO
{
    UINT32 reserved;
    UINT32 flags;
    PWSTR path;
    PWSTR packageFullName;
    PWSTR packageFamilyName;
    PACKAGE_ID packageId;
};

enum PackageOrigin
{
    PackageOrigin_Unknown = 0,
    PackageOrigin_Unmanaged = 1,
    PackageOrigin_Inbox = 2,
    PackageOrigin_Store = 3,
    PackageOrigin_DeveloperUnsigned = 4,
    PackageOrigin_DeveloperSigned = 5,
    PackageOrigin_LineOfBusiness = 6
};

struct PackageInfoReference
{
    void* reserved;
};
using PACKAGE_INFO_REFERENCE = PackageInfoReference*;

extern "C"
{
    WINBASEAPI LONG WINAPI FindPackagesByPackageFamily(PCWSTR packageFamilyName, UINT32 packageFilters, UINT32* count,
                                                       PWSTR* packageFullNames, UINT32* bufferLength, WCHAR* buffer,
                                                       UINT32* packageProperties);
    WINBASEAPI LONG WINAPI GetPackagePathByFullName(PCWSTR packageFullName, UINT32* pathLength, PWSTR path);
    WINBASEAPI LONG WINAPI GetStagedPackageOrigin(PCWSTR packageFullName, PackageOrigin* origin);
    WINBASEAPI LONG WINAPI OpenPackageInfoByFullName(PCWSTR packageFullName, UINT32 reserved,
                                                     PACKAGE_INFO_REFERENCE* packageInfoReference);
    WINBASEAPI LONG WINAPI GetPackageInfo(PACKAGE_INFO_REFERENCE packageInfoReference, UINT32 flags,
                                          UINT32* bufferLength, BYTE* buffer, UINT32* count);
    WINBASEAPI LONG WINAPI ClosePackageInfo(PACKAGE_INFO_REFERENCE packageInfoReference);
}

#endif

static_assert(sizeof(PACKAGE_VERSION) == 8);
static_assert(sizeof(PACKAGE_ID) == 48);
static_assert(sizeof(PACKAGE_INFO) == 80);

// MinGW-w64's rpcasync.h knows the call attributes up to version 2 only.
#if defined(__MINGW64_VERSION_MAJOR) && !defined(RPC_QUERY_CLIENT_ID)

struct RPC_CALL_ATTRIBUTES_V3_W
{
    unsigned int Version;
    unsigned long Flags;
    unsigned long ServerPrincipalNameBufferLength;
    unsigned short* ServerPrincipalName;
    unsigned long ClientPrincipalNameBufferLength;
    unsigned short* ClientPrincipalName;
    unsigned long AuthenticationLevel;
    unsigned long AuthenticationService;
    BOOL NullSession;
    BOOL KernelModeCaller;
    unsigned long ProtocolSequence;
    RpcCallClientLocality IsClientLocal;
    HANDLE ClientPID;
    unsigned long CallStatus;
    RpcCallType CallType;
    RPC_CALL_LOCAL_ADDRESS_V1_W* CallLocalAddress;
    unsigned short OpNum;
    UUID InterfaceUuid;
    unsigned long ClientIdentifierBufferLength;
    unsigned char* ClientIdentifier;
};

#endif

static_assert(sizeof(RPC_CALL_ATTRIBUTES_V3_W) == 120);

// Exported by ntdll, declared by the driver kit alone.
extern "C" NTSYSAPI LONG NTAPI RtlGetVersion(PRTL_OSVERSIONINFOW versionInformation);

// Exported by ntdll: whether the process is ending and its libraries are being told so.
extern "C" NTSYSAPI BOOLEAN NTAPI RtlDllShutdownInProgress();
