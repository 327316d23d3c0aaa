// The end of the module's life.
#pragma once

namespace Zv::Tessel::Server::Shared
{

// Keeps the module loaded until the process ends, however often it is freed: for code that threads run which nobody
// waits for. Throws std::system_error when Windows refuses.
void PinModule();

// Whether the process is past the point at which all threads but the one that ends it were stopped, wherever they were.
// What they held, locks above all, stays held.
[[nodiscard]] bool ProcessIsEnding() noexcept;

} // namespace Zv::Tessel::Server::Shared
