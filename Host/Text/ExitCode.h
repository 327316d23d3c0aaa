// What wmihost ends with.
#pragma once

namespace Zv::Host
{

enum class ExitCode : int
{
    Success = 0,
    CommandFailed = 1,    // the module returned a result code other than 0
    BadInput = 2,         // the command line or a request cannot be used
    ModuleMissing = 3,    // WMIService.dll cannot be loaded or gives no service
    InputOutput = 4,      // a file or stream cannot be read or written
    TimedOut = 5,         // --timeout has run out
    Interrupted = 6,      // Ctrl-C, or the console was closed, before what was asked for was done
    FirmwareRefused = 7,  // the firmware answered with a code other than 0, or without the bytes asked for
    SomethingMissing = 8, // doctor: this machine lacks something that the module works with
    Incomplete = 9,       // record: something could not be read, the rest is written
    InternalError = 70,   // out of memory, or an error in wmihost itself
};

// The text of the list in --help.
inline constexpr char ExitCodeHelp[] = R"(Exit codes:
  0   success
  1   the module answered with a result code; standard error names it
  2   the command line or the request cannot be used
  3   the module cannot be loaded
  4   a file or a stream cannot be read or written
  5   --timeout has run out
  6   Ctrl-C came first; "events" that nothing else would end give 0
  7   the firmware refused, with a return code that is printed, or sent no bytes
  8   "doctor" found something missing
  9   "record" could not read something, which it names; the rest is written
  70  out of memory, or an error in wmihost itself)";

} // namespace Zv::Host
