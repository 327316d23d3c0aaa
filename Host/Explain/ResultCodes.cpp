#include "Host/Explain/ResultCodes.h"

#include "Shared/Contract/ResultCode.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace Zv::Host
{

namespace
{

namespace Services = Zv::Tessel::Server::Services;

constexpr std::array ResultTable = {
    ResultCodeInfo{Services::Success, "Success", "success", "", ""},
    ResultCodeInfo{Services::UnsupportedFunction, "UnsupportedFunction", "unsupported function",
                   "The function number names no command.", "Use 2, 4, 8, 16, 32, 64, 128 or 256."},
    ResultCodeInfo{Services::GeneralFailure, "GeneralFailure", "failed, or nothing found",
                   "A query found no instance, or the property has no value in any; a WMI or firmware call failed; "
                   "memory ran out; an argument was null.",
                   "Run again with --log warning: a failed call is named with its HRESULT. Without such a line, "
                   "nothing was found: check the filter."},
    ResultCodeInfo{Services::CommandMissing, "CommandMissing", "\"command\" is missing or not a number",
                   "The request of function 2 lacks the firmware command number.", "Add \"command\": a number."},
    ResultCodeInfo{Services::CommandTypeMissing, "CommandTypeMissing", "\"commandType\" is missing or not a number",
                   "The request of function 2 lacks the firmware command type.", "Add \"commandType\": a number."},
    ResultCodeInfo{Services::InputDataSizeMissing, "InputDataSizeMissing",
                   "\"inputDataSize\" is missing or not a number", "The request of function 2 lacks the size.",
                   "Add \"inputDataSize\": the number of bytes that \"inputData\" decodes to, or 0."},
    ResultCodeInfo{Services::InputDataMissing, "InputDataMissing", "\"inputData\" is missing although a size is given",
                   "\"inputDataSize\" is not 0, and \"inputData\" is missing, null or not a string.",
                   "Add \"inputData\": the bytes in base64, or set \"inputDataSize\" to 0."},
    ResultCodeInfo{Services::InputDataSizeMismatch, "InputDataSizeMismatch",
                   "\"inputData\" does not have the size that \"inputDataSize\" says",
                   "The base64 text decodes to more or fewer bytes.", "Correct \"inputDataSize\" or the data."},
    ResultCodeInfo{Services::ReturnDataSizeMissing, "ReturnDataSizeMissing",
                   "\"returnDataSize\" is missing or not a number", "The request of function 2 lacks the return size.",
                   "Add \"returnDataSize\": 0, 4, 128, 1024 or 4096."},
    ResultCodeInfo{Services::ReturnDataSizeInvalid, "ReturnDataSizeInvalid",
                   "\"returnDataSize\" is none of 0, 4, 128, 1024, 4096",
                   "The firmware has one method for each of these sizes and no other.",
                   "Use the next larger of 0, 4, 128, 1024 and 4096."},
    ResultCodeInfo{Services::PropertyMissing, "PropertyMissing", "no property given",
                   "\"property\" is missing, null, empty or not a string.", "Name the property to read."},
    ResultCodeInfo{Services::PropertyNotFound, "PropertyNotFound", "no such property",
                   "The class has no property of this name.",
                   "Check the spelling; the text of an instance shows its "
                   "properties (wmihost text CLASS)."},
    ResultCodeInfo{Services::ClassMissing, "ClassMissing", "no class given",
                   "\"wmiClass\" is missing, null, empty or not a string.", "Name the WMI class to query."},
    ResultCodeInfo{Services::ClassInvalid, "ClassInvalid", "no such class",
                   "The namespace has no class of this name; firmware classes exist only on the maker's machines.",
                   "Check the spelling and the namespace."},
    ResultCodeInfo{Services::QueryInvalid, "QueryInvalid", "not a valid query",
                   "The filter is not a WQL condition, or names a property that the class lacks.",
                   "Write the filter like Name = 'x' AND Size > 5; text in single quotes, backslashes doubled."},
    ResultCodeInfo{Services::NamespaceMissing, "NamespaceMissing", "no namespace given",
                   "\"wmiNamespace\" is missing, null, empty or not a string.",
                   "Name a namespace such as ROOT\\CIMV2."},
    ResultCodeInfo{Services::NamespaceInvalid, "NamespaceInvalid", "no such namespace",
                   "This machine has no WMI namespace of this name.",
                   "Check the spelling, with single backslashes: ROOT\\CIMV2. In a JSON request double them."},
    ResultCodeInfo{Services::EventFilterInvalid, "EventFilterInvalid", "\"filterEvent\" is not a number",
                   "The request of function 4 or 8 gives an event id that is not a number.",
                   "Use a number, or leave \"filterEvent\" out for all events."},
    ResultCodeInfo{Services::SettingNameMissing, "SettingNameMissing", "no setting name given",
                   "\"name\" is missing, null, empty or not a string.", "Name the firmware setting."},
    ResultCodeInfo{Services::SettingValueMissing, "SettingValueMissing", "no setting value given",
                   "\"value\" is missing, null, empty or not a string.", "Give the value as a string."},
    ResultCodeInfo{Services::RequestMalformed, "RequestMalformed", "the request is not valid JSON",
                   "A quote, comma or bracket is missing, a backslash is not doubled, or the text is nested too "
                   "deeply.",
                   "Check the request with any JSON tool."},
    ResultCodeInfo{Services::ResponseTooLong, "ResponseTooLong", "the response has more than 65,535 characters",
                   "The query yields more values than fit into one response.",
                   "Narrow the query with a filter, or read one value at a time."},
};

} // namespace

std::span<const ResultCodeInfo> AllResultCodes() noexcept
{
    return ResultTable;
}

const ResultCodeInfo* FindResultCode(int code) noexcept
{
    const auto* const found = std::find_if(ResultTable.data(), ResultTable.data() + ResultTable.size(),
                                           [code](const ResultCodeInfo& i) { return i.code == code; });
    return found != ResultTable.data() + ResultTable.size() ? found : nullptr;
}

std::string HexCode(int code)
{
    char text[16];
    static_cast<void>(std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned int>(code)));
    return text;
}

std::string ErrorLine(int code, const std::string& subject, const std::string& problem)
{
    const ResultCodeInfo* const info = FindResultCode(code);
    const bool problemSaysMore = code == Services::GeneralFailure && !problem.empty();
    std::string line = HexCode(code) + ": ";
    line += info == nullptr ? "unknown result code" : problemSaysMore ? "failed" : info->meaning;
    line += subject.empty() ? "" : ": " + subject;
    line += problemSaysMore ? ": " + problem : "";
    return line;
}

} // namespace Zv::Host
