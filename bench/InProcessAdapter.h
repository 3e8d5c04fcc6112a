// The adapter linked into the benchmark, with one camera streaming, so that single steps of the frame path
// can be measured: the benchmark plays the SDK's thread and calls the frame callback itself.
#pragma once

#include "bench/Sandbox.h"
#include "maravel/VideoChannel.h"
#include "sdk/ZvkTypes.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace maravel::bench {

// At most one at a time. Throws std::runtime_error when the adapter does not start.
class InProcessAdapter
{
public:
    InProcessAdapter(const std::filesystem::path& builtSdkFolder, const std::string& pixelFormat);
    ~InProcessAdapter();
    InProcessAdapter(const InProcessAdapter&) = delete;
    InProcessAdapter& operator=(const InProcessAdapter&) = delete;

    // From now on the SDK does nothing when the adapter queues a frame or has one converted: what remains is
    // the adapter's own doing.
    void SilenceSdk();

    std::size_t FrameCount() const;

    // The SDK's callback for one of the channel's frame records, with its log line.
    void Receive(std::size_t frame);

    // Takes the oldest frame from the FIFO without delivering it.
    void DropOldest();

    // What a host does for one image: asks, reads the attributes, fetches.
    void Fetch();

    void QueryStatus();

    // The file that the adapter logs to, and its bytes so far.
    std::filesystem::path LogFile() const;

private:
    Sandbox sandbox_;
    VideoChannelDescriptor channel_ = {};
    char errorText_[MARAVEL_TEXT_SIZE] = "";
    ZvkHandle_t camera_ = nullptr;
    ZvkFrame_t* frames_ = nullptr;
    std::vector<std::uint8_t> image_;
};

} // namespace maravel::bench
