// Which API sets the running Windows has.
#pragma once

namespace Zv::Tessel::Server::Services
{

class ApiSet
{
public:
    // Whether the contract (its name without the extension) can be called here. Windows before version 10 knows no such
    // question and counts as having every contract; a question that cannot be asked is answered with no.
    [[nodiscard]] static bool IsPresent(const char* contract) noexcept;
};

} // namespace Zv::Tessel::Server::Services
