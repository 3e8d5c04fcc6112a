// Handles that a backend gives out. A handle carries its kind and its camera's index, a running number and a
// mark of this loading of the library: it is never 0, never given out twice, and a call's record can name it.
#pragma once

#include "sdk/ZvkTypes.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace maravel::backend {

enum class HandleKind : std::uint8_t
{
    TransportLayer = 1,
    Interface,
    Camera,
    LocalDevice,
    Stream,
    Chunk
};

// What a handle says of itself; whether it is alive, only its table knows.
struct HandleName
{
    HandleKind kind;
    std::uint32_t index;
};

// The live handles of a started library. The owner's lock guards it.
class HandleTable
{
public:
    // A new live handle. `object` is what Find gives back.
    ZvkHandle_t Add(HandleKind kind, std::uint32_t index, void* object);
    void Remove(ZvkHandle_t handle);

    struct Entry
    {
        ZvkHandle_t handle;
        HandleName name;
        void* object;
    };
    // The entry of a live handle, or null.
    const Entry* Find(ZvkHandle_t handle) const;
    // The object of a live handle of that kind, or null.
    void* Find(ZvkHandle_t handle, HandleKind kind) const;

private:
    std::vector<Entry> live_;
};

// Takes a handle apart; false when this library cannot have made it.
bool NameHandle(ZvkHandle_t handle, HandleName* name);

// Writes "camera 0", "stream 2", "null" or the address of a foreign handle.
void DescribeHandle(const void* handle, char* text, std::size_t size);

} // namespace maravel::backend
