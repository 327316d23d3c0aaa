// Dispatch alone: an unsupported function against RapidJSON parsing the same text and writing "{}".

#include "Benchmarks/PlainJson.h"
#include "Benchmarks/Report.h"
#include "Benchmarks/Subject.h"

int main(int argumentCount, char** arguments)
{
    using namespace Zv::Benchmarks;
    return Main("Dispatch alone: an unsupported function over RapidJSON parsing the request and writing {}",
                argumentCount, arguments, [&](Report& report) {
                    auto machine = MakeMachine(1);
                    Subject subject{machine};
                    for (const std::size_t length : {2U, 80U, 800U, 5500U, 55000U})
                    {
                        const std::wstring request = RequestOfLength(length);
                        report.Add(Compare(
                                       std::to_string(length) + " characters",
                                       [&](std::size_t operations) {
                                           for (std::size_t i = 0; i < operations; ++i)
                                           {
                                               subject.RunAny(UnsupportedFunction, request);
                                           }
                                       },
                                       [&](std::size_t operations) {
                                           for (std::size_t i = 0; i < operations; ++i)
                                           {
                                               ParseAndWrite(request);
                                           }
                                       }),
                                   {1.3, {}});
                    }
                });
}
