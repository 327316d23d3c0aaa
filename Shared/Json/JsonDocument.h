// The JSON types of the module: RapidJSON with UTF-16 text and pool allocation, made safe against running out of
// memory. RapidJSON itself does not look at what its base allocator returns, so the allocator here throws.
#pragma once

// RapidJSON's assertions are never a reason to end the host's process, in whatever build.
#define RAPIDJSON_ASSERT(condition) static_cast<void>(sizeof(condition))
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstddef>
#include <cstdlib>
#include <new>

namespace Zv::Tessel::Server::Services
{

// A RapidJSON base allocator over the C heap that throws std::bad_alloc instead of returning null.
class ThrowingAllocator
{
public:
    static const bool kNeedFree = true;

    void* Malloc(std::size_t size) { return size == 0 ? nullptr : Checked(std::malloc(size)); }

    void* Realloc(void* original, std::size_t /*originalSize*/, std::size_t size)
    {
        if (size == 0)
        {
            std::free(original);
            return nullptr;
        }
        return Checked(std::realloc(original, size));
    }

    static void Free(void* memory) noexcept { std::free(memory); }

private:
    static void* Checked(void* memory)
    {
        if (memory == nullptr)
        {
            throw std::bad_alloc{};
        }
        return memory;
    }
};

using JsonEncoding = rapidjson::UTF16<wchar_t>;
using JsonAllocator = rapidjson::MemoryPoolAllocator<ThrowingAllocator>;
using JsonDocument = rapidjson::GenericDocument<JsonEncoding, JsonAllocator, ThrowingAllocator>;
using JsonValue = rapidjson::GenericValue<JsonEncoding, JsonAllocator>;
using JsonStringBuffer = rapidjson::GenericStringBuffer<JsonEncoding, ThrowingAllocator>;
using JsonWriter = rapidjson::Writer<JsonStringBuffer, JsonEncoding, JsonEncoding, JsonAllocator>;

// Chunk size of every document's pool, in bytes.
inline constexpr std::size_t JsonChunkSize = 65536;

} // namespace Zv::Tessel::Server::Services
