// How much a machine description holds.
#pragma once

#include "Host/Text/Json.h"

#include "Simulator/Description/Description.h"

#include <cstddef>
#include <string>

namespace Zv::Host
{

struct DescriptionContents
{
    std::size_t classes = 0;
    std::size_t instances = 0;
    std::size_t settings = 0;
    std::size_t packages = 0;

    [[nodiscard]] std::string Text() const; // "classes: 5, instances: 4, settings: 0, packages: 0"
    [[nodiscard]] JsonObject Json() const;
};

[[nodiscard]] DescriptionContents Count(const Simulator::Description& description);

} // namespace Zv::Host
