// The requests and responses that a page of docs/ shows.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Zv::Testing
{

// One fenced block that is part of an example. Its info string says what it is:
//     request FUNCTION MACHINE   a request to a new session on a freshly started machine
//     request FUNCTION           a request in the session of the block before
//     progress                   what the callback gets next; in a registration, the event to raise
//     response CODE              answers the latest request that has no answer yet
struct Block
{
    enum class Kind
    {
        Request,
        Progress,
        Response
    };

    Kind kind = Kind::Request;
    unsigned int number = 0; // function of a request, code of a response
    std::string machine;     // empty: the session of the block before
    std::wstring text;       // without its last line break
    int line = 0;
};

// Throws std::runtime_error when the page cannot be read.
[[nodiscard]] std::vector<Block> ReadExamples(const std::filesystem::path& page);

} // namespace Zv::Testing
