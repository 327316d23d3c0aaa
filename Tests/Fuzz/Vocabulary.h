// What requests are made of.
#pragma once

#include <cstdint>
#include <string_view>

namespace Zv::Fuzz
{

inline constexpr std::uint32_t Functions[] = {2, 4, 8, 16, 32, 64, 128, 256};

inline constexpr std::wstring_view Requests[] = {
    LR"({"command":131081,"commandType":1,"inputDataSize":0,"returnDataSize":4})",
    LR"({"command":1,"commandType":2,"inputDataSize":4,"inputData":"AQIDBA==","returnDataSize":128})",
    LR"({"command":1,"commandType":2,"inputDataSize":1,"inputData":"AQ==","returnDataSize":4096})",
    LR"({"filterEvent":0})",
    LR"({"filterEvent":29})",
    LR"({"property":"Product","wmiClass":"Win32_BaseBoard","wmiNamespace":"ROOT\\CIMV2"})",
    LR"({"property":"Name","wmiClass":"C","filter":"Name = 'x'","wmiNamespace":"ROOT"})",
    LR"({"name":"Wake On LAN","value":"Enable","password":""})",
    LR"({"password":"secret"})",
    LR"({"wmiClass":"C","filter":"","wmiNamespace":"ROOT"})",
    L"null",
    L"{}",
};

inline constexpr std::wstring_view Words[] = {
    L"\"command\":",
    L"\"commandType\":",
    L"\"inputDataSize\":",
    L"\"inputData\":",
    L"\"returnDataSize\":",
    L"\"filterEvent\":",
    L"\"property\":",
    L"\"wmiClass\":",
    L"\"filter\":",
    L"\"wmiNamespace\":",
    L"\"name\":",
    L"\"value\":",
    L"\"password\":",
    L"null",
    L"true",
    L"false",
    L"{",
    L"}",
    L"[",
    L"]",
    L",",
    L":",
    L"\"",
    L"\"\"",
    L"\\\"",
    L"\\u0000",
    L"\\uD800",
    L"\\uDC00",
    L"\\uD83D\\uDE00",
    L"\\u",
    L"\\",
    L"\xD800",
    L"\xDC00",
    L"\xFEFF",
    L"\xFFFF",
    L"AAAA",
    L"AA==",
    L"====",
    L"-----BEGIN CERTIFICATE-----",
    L"\r\n",
    L" ",
    L"/*",
};

inline constexpr std::wstring_view Numbers[] = {
    L"0",
    L"-0",
    L"1",
    L"-1",
    L"2",
    L"3",
    L"4",
    L"128",
    L"1024",
    L"4096",
    L"2048",
    L"65535",
    L"65536",
    L"2147483647",
    L"2147483648",
    L"-2147483648",
    L"-2147483649",
    L"4294967295",
    L"4294967296",
    L"4294967297",
    L"9223372036854775807",
    L"9223372036854775808",
    L"-9223372036854775809",
    L"18446744073709551615",
    L"18446744073709551616",
    L"1.5",
    L"4.0",
    L"4e0",
    L"1e308",
    L"1e309",
    L"-1e999999999",
    L"1e-999999999",
    L"0.00000000000000000000000000000000001",
    L"1e2147483648",
};

} // namespace Zv::Fuzz
