#include "Host/Application.h"
#include "Host/CommandLine.h"

int main()
{
    return static_cast<int>(Zv::Host::RunApplication(Zv::Host::CommandLineArguments()));
}
