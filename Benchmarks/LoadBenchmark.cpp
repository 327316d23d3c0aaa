// What it costs a host to have the module in its process, against an empty DLL of the same toolchain. This program
// itself needs none of the DLLs that the module needs.

#include "Benchmarks/Image.h"
#include "Benchmarks/Measure.h"
#include "Benchmarks/Paths.h"
#include "Benchmarks/Report.h"
#include "Services/ZVService.h"

#include <windows.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace Zv::Benchmarks;
using Zv::Tessel::Server::Services::ZVCreateServiceFunction;
using Zv::Tessel::Server::Services::ZVCreateServiceName;
using Zv::Tessel::Server::Services::ZVService;

constexpr double LargestSize = 350 * 1024.0;
constexpr double LargestRatio = 1.5;
constexpr std::size_t Rounds = 101;

constexpr const wchar_t* TheModule = L"WMIService.dll";
constexpr const wchar_t* Empty = L"EmptyModule.dll";
constexpr const wchar_t* EmptyWithDlls = L"EmptyModuleSameDlls.dll";

// A DLL beside this program, loaded as a host loads the module.
class Library
{
public:
    explicit Library(const wchar_t* fileName)
    {
        const std::filesystem::path file = BesideProgram(fileName);
        m_module =
            LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
        if (m_module == nullptr)
        {
            throw std::runtime_error{file.string() + " cannot be loaded"};
        }
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { FreeLibrary(m_module); }

    [[nodiscard]] HMODULE Get() const noexcept { return m_module; }

    [[nodiscard]] std::unique_ptr<ZVService> CreateService() const
    {
        const auto create = reinterpret_cast<ZVCreateServiceFunction*>(
            reinterpret_cast<void*>(GetProcAddress(m_module, ZVCreateServiceName)));
        return std::unique_ptr<ZVService>{create()};
    }

private:
    HMODULE m_module;
};

double LoadOnce(const wchar_t* fileName)
{
    return Time([fileName] {
        const Library library{fileName};
        static_cast<void>(library.CreateService());
    });
}

void CompareLoads(Report& report, const std::string& name, const wchar_t* reference, const Aim& aim)
{
    report.Add(CompareSamples(
                   name, [] { return LoadOnce(TheModule); }, [reference] { return LoadOnce(reference); }, Rounds),
               aim);
}

void ShowImage(Report& report, const std::string& name, const wchar_t* fileName)
{
    const Library library{fileName};
    const Image image = Inspect(library.Get());
    report.AddRow(name, {{"bytes of file", static_cast<double>(image.fileSize)},
                         {"loaded", static_cast<double>(image.loadedSize)},
                         {"DLLs", static_cast<double>(image.importedDlls)},
                         {"imports", static_cast<double>(image.importedFunctions)},
                         {"relocations", static_cast<double>(image.relocations)}});
    if (fileName == TheModule)
    {
        report.Add(name + ", size of the file", static_cast<double>(image.fileSize), "bytes", LargestSize);
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    return Main("Load: the module over an empty DLL of the same toolchain", argumentCount, arguments,
                [&](Report& report) {
                    CompareLoads(report, "load, factory, unload; first in the process", Empty, {LargestRatio, {}});
                    CompareLoads(report, "the same over an empty DLL with its DLLs", EmptyWithDlls, {LargestRatio, {}});
                    const Library others{EmptyWithDlls}; // a host that uses COM has them
                    CompareLoads(report, "load, factory, unload; the DLLs it needs there", Empty, {LargestRatio, {}});

                    ShowImage(report, "module", TheModule);
                    ShowImage(report, "empty DLL", Empty);
                    ShowImage(report, "empty DLL with the same DLLs", EmptyWithDlls);
                });
}
