// Memory that runs out at every allocation in turn.
#include "boundary/AdapterTest.h"
#include "sdk/ZvkTypes.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>

namespace maravel::test {

namespace {

class AllocationTest : public AdapterTest
{
protected:
    AllocationTest() : AdapterTest(ExecutableFolder() + "/AllocationAdapter.so")
    {
        ExpectErrors();
        machine.SetRegistry({RegistryNumber("SOFTWARE\\maravel\\PLK\\AdapterZorvik", "EnableLog", 1)});
        Resolve("FailAllocation", failAllocation_);
        Resolve("AllocationsMade", allocationsMade_);
        Resolve("AllocationsAlive", allocationsAlive_);
    }

    // A failure has to say why.
    void Note(const Answer& answer) override
    {
        failures_ +=
            answer.status != MARAVEL_SUCCESS || (answer.rule == WithOpenResult && answer.detail != 0);
        EXPECT_TRUE(answer.IsConsistent()) << answer.operation << " answers '" << answer.text << "'";
    }

    // Everything that a host does, in one go; failures are counted, and nothing is asked of what they left
    // out.
    void UseEverything()
    {
        failures_ = 0;
        for (std::int32_t i = 0; i < 3; ++i) {
            Guarded<VideoChannelDescriptor> channel(sizeof(VideoChannelDescriptor));
            if (GetVideoChannel(i, channel.Get()) == MARAVEL_SUCCESS) {
                callbacks_ = *channel;
            }
            else if (i == 0) {
                EXPECT_NE(TextNow(), "") << "no start and no word of it";
            }
            else {
                isMemoryNamed_ |= CountInLog("GetVideoChannel: ERROR. Out of memory.") != 0;
            }
        }
        if (callbacks_.StartAcquisition == nullptr) {
            return;
        }
        GuardedBuffer image(64 * 48 * 3);
        for (std::int64_t id = 0; id < 3; ++id) {
            Configure(id);
            if (Start(id) != MARAVEL_SUCCESS && !areFramesNamed_) {
                areFramesNamed_ |=
                    CountInLog("AllocateVideoBuffers: ERROR. channelID=0. No memory for frames of "
                               "3072 bytes.") != 0;
            }
            for (int frame = 0; frame < 3; ++frame) {
                sdk.SimEmitFrame(static_cast<std::uint32_t>(id), nullptr);
                ImageAttributes attributes = {};
                Attributes(id, &attributes);
                TestHost::Fetch(id, image.Data());
            }
            Read(id, "PixelFormat");
            Write(id, "DeviceUserID", "a host");
            Type(id, "Width");
            Name(id, 0);
            Entry(id, "PixelFormat", 0);
            Attribute(id, "Width", 1);
            Stop(id);
        }
        for (std::int64_t id = 0; id < 3; ++id) {
            Release(id);
        }
    }

    void (*failAllocation_)(std::int64_t, bool) = nullptr;
    std::int64_t (*allocationsMade_)() = nullptr;
    std::int64_t (*allocationsAlive_)() = nullptr;
    int failures_ = 0;
    bool isMemoryNamed_ = false;
    bool areFramesNamed_ = false;
};

TEST_F(AllocationTest, BuffersThatAreNoLongerNeededAreFreed)
{
    UseEverything();
    const std::int64_t alive = allocationsAlive_();
    Stream(0);
    EXPECT_EQ(Stop(0), 0);
    ZvkError_t (*const large)(ZvkHandle_t, std::uint32_t*) = [](ZvkHandle_t, std::uint32_t* size) {
        *size = 64 << 20; // so large that fewer will do
        return ZvkErrorSuccess;
    };
    sdk.SimReplaceEntry("ZvkPayloadSizeGet", reinterpret_cast<void*>(large));
    EXPECT_EQ(Start(0), 0) << TextNow();
    EXPECT_LT(sdk.State().announcedFrames, 16u);
    EXPECT_EQ(Release(0), 0);
    EXPECT_EQ(allocationsAlive_(), alive);
}

// The buffers of one camera are had while another one sends: its frames must not wait for them.
TEST_F(AllocationTest, BuffersOfOneCameraAreHadWhileAnotherOneReceives)
{
    void (*watchAllocations)(void (*)(std::size_t)) = nullptr;
    Resolve("WatchAllocations", watchAllocations);
    static SdkControl* control;
    static int received;
    control = &sdk;
    received = 0;
    Stream(0);
    ASSERT_EQ(Configure(1), 0);
    watchAllocations([](std::size_t size) {
        if (size != std::size_t{32} * 16 * 3) {
            return; // not a buffer of camera 1
        }
        auto sent = std::async(std::launch::async, [] { return control->SimEmitFrame(0, nullptr); });
        // A frame that waits for the lock waits for ever, since this is the thread that would let it go.
        if (sent.wait_for(std::chrono::seconds(5)) != std::future_status::ready) {
            std::fputs("a camera's frame waits for another camera's memory\n", stderr);
            std::abort();
        }
        received += sent.get() == 0 ? 1 : 0;
    });
    EXPECT_EQ(Start(1), 0) << TextNow();
    watchAllocations(nullptr);
    EXPECT_GE(received, 16);
}

TEST_F(AllocationTest, EveryAllocationMayFail)
{
    failAllocation_(0, false);
    UseEverything();
    ASSERT_EQ(failures_, 0);
    const std::int64_t total = allocationsMade_();
    const std::int64_t alive = allocationsAlive_();
    ASSERT_GT(total, 100);
    std::int64_t points = 0;
    for (const bool forever : {false, true}) {
        for (std::int64_t nth = 1; nth <= total; ++nth) {
            SCOPED_TRACE("allocation " + std::to_string(nth) + (forever ? " and all that follow" : ""));
            failAllocation_(nth, forever);
            UseEverything();
            ++points;
            failAllocation_(0, false);
            UseEverything();
            ASSERT_EQ(failures_, 0) << "the second attempt";
            ASSERT_LE(allocationsAlive_(), alive) << "something was kept";
            ASSERT_EQ(sdk.State().openCameras, 0u);
        }
    }
    EXPECT_TRUE(isMemoryNamed_) << "no channel said why it did not open";
    EXPECT_TRUE(areFramesNamed_) << "no start said that it had no memory for frames";
    std::printf("allocation fault points: %lld\n", static_cast<long long>(points));
    ExpectViolations(); // a failed opening closes its camera twice
}

} // namespace

} // namespace maravel::test
