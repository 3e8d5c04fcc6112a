// What a fault of the simulated SDK is written with: a row says which check it proves, how the SDK goes
// wrong, and which other checks of the group notice that as well.
#pragma once

#include "certify/Session.h"
#include "sdk/ImageTransformEntryPoints.h"
#include "sdk/RuntimeEntryPoints.h"
#include "support/SdkControl.h"

#include <atomic>
#include <ostream>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace maravel::test {

struct FaultRow
{
    const char* check;
    // Called before each check of the group, when the SDK is as new. What it changes in the settings is where
    // the check looks for the SDK.
    void (*install)(certify::Settings& settings);
    std::set<std::string> others = {}; // checks that may fail too
};

inline std::ostream& operator<<(std::ostream& out, const FaultRow& row)
{
    return out << row.check;
}

// The SDK's own implementations.
struct OwnEntries
{
#define POINTER(result, name, parameters) result(*name) parameters = nullptr;
    ZVK_RUNTIME_ENTRY_POINTS(POINTER)
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(POINTER)
#undef POINTER
};
inline OwnEntries own;
inline SdkControl* sdk = nullptr;

// What faults remember; as here at the beginning of each check.
struct Memory
{
    int calls = 0;
    bool flag = false;
    ZvkHandle_t handle = nullptr;
    char text[16] = "one";
};
inline Memory memory;

// Threads that nobody ends.
class Lingerers
{
public:
    ~Lingerers() { End(); }
    void Add()
    {
        ended_ = false;
        threads_.emplace_back([this] {
            while (!ended_) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    }
    void End()
    {
        ended_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
        threads_.clear();
    }

private:
    std::atomic<bool> ended_ = false;
    std::vector<std::thread> threads_;
};

SimStateInfo State();

inline bool Is(const char* name, std::string_view wanted)
{
    return name != nullptr && wanted == name;
}

// A folder like the SDK's, gone at the end of the check, in which `change` has done something to bin/.
void UseCopy(certify::Settings& settings, void (*change)(const std::filesystem::path& folder));

std::span<const FaultRow> SdkFaults();       // A to D
std::span<const FaultRow> FeatureFaults();   // E to H
std::span<const FaultRow> CameraFaults();    // I to K
std::span<const FaultRow> StreamFaults();    // L and M
std::span<const FaultRow> TriggerFaults();   // N
std::span<const FaultRow> TransformFaults(); // O
std::span<const FaultRow> AdapterFaults();   // P to R

// Calls of the entry point go to a lambda that captures nothing.
#define REPLACE(entry, ...)                                                                                  \
    sdk->SimReplaceEntry(#entry, reinterpret_cast<void*>(static_cast<decltype(own.entry)>(__VA_ARGS__)))
#define REPLACE_TRANSFORM(entry, ...)                                                                        \
    sdk->SimTransformReplaceEntry(#entry,                                                                    \
                                  reinterpret_cast<void*>(static_cast<decltype(own.entry)>(__VA_ARGS__)))
// Calls for a value give that result and do nothing when the condition on their `name` and `value` holds.
#define GIVE(entry, condition, result)                                                                       \
    REPLACE(entry, [](auto handle, auto name, auto value) {                                                  \
        return (condition) ? (result) : own.entry(handle, name, value);                                      \
    })
// Calls that should give that error give success.
#define FORGIVE(entry, error)                                                                                \
    REPLACE(entry, [](auto... arguments) {                                                                   \
        const ZvkError_t result = own.entry(arguments...);                                                   \
        return result == (error) ? ZvkErrorSuccess : result;                                                 \
    })

// Each arrival, before the check sees it: the body changes camera, stream or frame, or returns.
#define REPLACE_ARRIVAL(...)                                                                                 \
    REPLACE(ZvkCaptureFrameQueue, [](auto handle, auto queued, auto) {                                       \
        return own.ZvkCaptureFrameQueue(handle, queued,                                                      \
                                        [](ZvkHandle_t camera, ZvkHandle_t stream, ZvkFrame_t* frame) {      \
                                            __VA_ARGS__                                                      \
                                            certify::Frames::Received(camera, stream, frame);                \
                                        });                                                                  \
    })

} // namespace maravel::test
