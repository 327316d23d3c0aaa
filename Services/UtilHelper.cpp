#include "Services/UtilHelper.h"

#include "Shared/Log/ClassLog.h"
#include "Shared/Log/TypeName.h"

namespace Zv::Tessel::Server::Services
{

bool UtilHelper::NullChecker(std::initializer_list<NamedPointer> pointers, const wchar_t* clientId)
{
    bool anyNull = false;
    for (const NamedPointer& entry : pointers)
    {
        if (entry.pointer == nullptr)
        {
            anyNull = true;
            const Shared::ClassLog log{Logging::LogManager::GetLogger(), Shared::ClassName<UtilHelper>(), clientId};
            log.IsNull("NullChecker", entry.name);
        }
    }
    return anyNull;
}

} // namespace Zv::Tessel::Server::Services
