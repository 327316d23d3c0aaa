// Part of WMIServiceFuzz.dll alone: counts the ways between the basic blocks of the module. The compiler calls the
// function below at the begin of each block (-fsanitize-coverage=trace-pc); this file is compiled without.
#include "Tests/Fuzz/CoverageMap.h"

#include <cstdint>

extern "C"
{
    extern const char __ImageBase;

    __declspec(dllexport) std::uint8_t ZvCoverageMap[Zv::Fuzz::CoverageMapSize];

    void __sanitizer_cov_trace_pc()
    {
        // The fuzzer runs commands on one thread.
        static std::uintptr_t before = 0;
        const std::uintptr_t offset = static_cast<const char*>(__builtin_return_address(0)) - &__ImageBase;
        const std::uintptr_t block = offset * 0x9E3779B97F4A7C15U >> 48;
        std::uint8_t& count = ZvCoverageMap[(block ^ before) % Zv::Fuzz::CoverageMapSize];
        count = static_cast<std::uint8_t>(count + (count != 0xFF ? 1 : 0));
        before = block >> 1;
    }
}
