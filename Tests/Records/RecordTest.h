// What the record tests share: the lines that unusable members leave in the log.
#pragma once

#include "Tests/Support/ModuleTest.h"

#include <string>

namespace Zv::Testing
{

class RecordTest : public ModuleTest
{
protected:
    static LogLine MissingKey(const wchar_t* key)
    {
        return Warning(L"%S.%S - %S missing key %s", JsonUtilsClass, "GetJsonValue", "document", key);
    }
    static LogLine NullValue(const wchar_t* key)
    {
        return Warning(L"%S.%S - %s cannot be null", JsonUtilsClass, "GetJsonValue", key);
    }
    // Types as JSON types are numbered: null 0, false 1, true 2, object 3, array 4, string 5, number 6.
    static LogLine WrongType(const wchar_t* key, int expected, int actual)
    {
        return Warning(L"%S.%S - %s is invalid type expected %d result %d", JsonUtilsClass, "ParseJsonValue", key,
                       expected, actual);
    }
    // The record's own line about a member that it cannot use.
    static LogLine Refused(const char* record, const char* name)
    {
        const std::string type = std::string{"struct Zv::Tessel::Server::Services::WMI::"} + record;
        return CannotBeNull(type.c_str(), record, name);
    }
};

} // namespace Zv::Testing
