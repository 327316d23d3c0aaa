#include "Tests/Support/Module.h"

#include <gtest/gtest.h>

namespace
{

using Zv::Testing::Module;

TEST(ModuleExports, TheFactoryIsExportedUndecorated)
{
    const Module module;

    EXPECT_NE(GetProcAddress(module.Handle(), "ZVCreateService"), nullptr);
}

} // namespace
