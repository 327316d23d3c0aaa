#include "Host/CommandLine/Arguments.h"

#include <algorithm>

namespace Zv::Host
{

void Arguments::Refuse(const std::string& option, const std::string& why)
{
    const auto refused = std::ranges::find(m_all, option, &Argument::name);
    refused->target = Target{[why](const std::string&) { throw std::invalid_argument{why}; }};
    refused->isHidden = true;
}

} // namespace Zv::Host
