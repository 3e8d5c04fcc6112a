// Hosts that are careless, hostile or many.
#include "boundary/AdapterTest.h"
#include "support/RandomHost.h"

#include "sdk/ZvkTypes.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <iterator>
#include <random>
#include <thread>

namespace maravel::test {

namespace {

class HostTest : public AdapterTest
{
};

TEST_F(HostTest, NullPointersAreRefusedOneByOne)
{
    ExpectErrors();
    Stream(0);
    DeliverFrames(0);
    VideoChannelDescriptor& channel = Channel(0);
    CommonParams params = Params(1, 0);
    ImageAttributes attributes = {};
    std::uint32_t status = 0;
    std::uint32_t taken = 0xDEAD;
    std::int32_t type = 0;
    GuardedBuffer value(4096);
    const std::int32_t results[] = {
        channel.SetupCommonParams(text(), 0, nullptr),
        channel.GetImageAttributes(text(), 0, nullptr, &status),
        channel.GetImageAttributes(text(), 0, &attributes, nullptr),
        channel.GetImage(text(), 0, nullptr, &taken),
        channel.GetImage(text(), 0, value.Data(), nullptr),
        channel.ExecuteCommand(text(), 0, nullptr),
        channel.ReadValue(text(), 0, nullptr, value.Text()),
        channel.ReadValue(text(), 0, "Width", nullptr),
        channel.WriteValue(text(), 0, nullptr, "1"),
        channel.WriteValue(text(), 0, "Width", nullptr),
        channel.GetFeatureName(text(), 0, 0, nullptr),
        channel.GetFeatureType(text(), 0, nullptr, &type),
        channel.GetFeatureType(text(), 0, "Width", nullptr),
        channel.GetValidEnum(text(), 0, nullptr, 0, value.Text()),
        channel.GetValidEnum(text(), 0, "PixelFormat", 0, nullptr),
        channel.GetFeatureAttr(text(), 0, nullptr, 1, value.Text()),
        channel.GetFeatureAttr(text(), 0, "Width", 1, nullptr),
        GetVideoChannel(1, nullptr),
        // No buffer for the error text.
        channel.SetupCommonParams(nullptr, 0, &params),
        channel.GetImageAttributes(nullptr, 0, &attributes, &status),
        channel.GetImage(nullptr, 0, value.Data(), &status),
        channel.StartAcquisition(nullptr, 0),
        channel.StopAcquisition(nullptr, 0),
        channel.ExecuteCommand(nullptr, 0, "TriggerSoftware"),
        channel.ReadValue(nullptr, 0, "Width", value.Text()),
        channel.WriteValue(nullptr, 0, "Width", "8"),
        channel.GetFeatureName(nullptr, 0, 0, value.Text()),
        channel.GetFeatureType(nullptr, 0, "Width", &type),
        channel.GetValidEnum(nullptr, 0, "PixelFormat", 0, value.Text()),
        channel.GetFeatureAttr(nullptr, 0, "Width", 1, value.Text()),
        channel.ReleaseVideoChannel(nullptr, 0),
    };
    int row = 0;
    for (const std::int32_t result : results) {
        EXPECT_EQ(result, 1) << "row " << row;
        ++row;
    }
    EXPECT_EQ(TextNow(), "GetVideoChannel: ERROR. Null pointer passed for the descriptor.");
    EXPECT_EQ(taken, static_cast<std::uint32_t>(ImageStatusError));
    EXPECT_EQ(CountInLog("GetImage: ERROR. Invalid destination pointer. channelID=0."), 1);
    EXPECT_EQ(CountInLog("ReadValue: ERROR. Null pointer passed. channelID=0."), 2);
    EXPECT_EQ(CountInLog("StartAcquisition: ERROR. No buffer for the error text."), 1);
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusReady));
}

TEST_F(HostTest, NamesAndValuesOfEverySizeAndContent)
{
    ExpectErrors();
    Open();
    std::vector<std::string> names = {"",        "%s%n%d%x%p",         "\x01\x02\x7f", "\xff\xfe\x80",
                                      "Width\n", std::string(255, 'a')};
    for (const std::size_t size : {255u, 256u, 4096u, 1'000'000u}) {
        names.emplace_back(size, 'n');
        names.emplace_back(size, '%');
    }
    for (const std::string& name : names) {
        Read(0, name);
        EXPECT_EQ(Result(), 1);
        EXPECT_EQ(TextNow(),
                  ("ReadValue: ERROR. Feature '" + name + "' not found for channelID=0.").substr(0, 255));
        EXPECT_LE(TextNow().size(), 255u);
        EXPECT_EQ(Write(0, name, name), 1);
        EXPECT_EQ(Execute(0, name), 1);
        Type(0, name);
        EXPECT_EQ(Result(), 1);
        Attribute(0, name, 1);
        EXPECT_EQ(Result(), 1);
        Entry(0, name, 0);
        EXPECT_EQ(Result(), 1);
        Write(0, "DeviceUserID", name);
        Write(0, "PixelFormat", name);
        Write(0, "Width", name);
        EXPECT_LE(TextNow().size(), 255u);
    }
}

// What a host does from inside an SDK call that lets its timers run, and whether the SDK delivers frames
// there.
std::function<void()> timer;
bool isDeliveredInside = false;

ZvkError_t (*intGet)(ZvkHandle_t, const char*, std::int64_t*);
ZvkError_t (*frameQueue)(ZvkHandle_t, const ZvkFrame_t*, ZvkFrameCallback);

ZvkError_t IntGetWithTimer(ZvkHandle_t camera, const char* name, std::int64_t* value)
{
    timer();
    return intGet(camera, name, value);
}

ZvkError_t FrameQueueWithTimer(ZvkHandle_t camera, const ZvkFrame_t* frame, ZvkFrameCallback callback)
{
    timer();
    if (isDeliveredInside) {
        callback(camera, camera, const_cast<ZvkFrame_t*>(frame));
    }
    return frameQueue(camera, frame, callback);
}

TEST_F(HostTest, ACallFromInsideAnotherCallOfTheSameThreadIsAnsweredAtOnce)
{
    ExpectErrors();
    Stream(0);
    HostCalls inner(EntryPoint(), Channel(0));
    int calls = 0;
    timer = [&] {
        VideoChannelDescriptor descriptor = {};
        EXPECT_EQ(inner.Query(0), 0);
        EXPECT_EQ(inner.ImageStatus(), static_cast<std::uint32_t>(ImageStatusPending));
        EXPECT_EQ(inner.Fetch(0, &descriptor), 1);
        EXPECT_EQ(inner.ImageStatus(), static_cast<std::uint32_t>(ImageStatusError));
        EXPECT_EQ(inner.Release(0), 1);
        EXPECT_EQ(inner.GetVideoChannel(0, &descriptor), 1);
        inner.Read(0, "Gain");
        EXPECT_EQ(inner.TextNow(), "ReadValue: ERROR. Called from inside another call of the same thread.");
        ++calls;
    };
    DeliverFrames(0);
    Replace("ZvkFeatureIntGet", IntGetWithTimer, &intGet);
    EXPECT_EQ(Read(0, "Width"), "64") << TextNow();
    EXPECT_EQ(calls, 1);
    // The same on a thread of the SDK that queues an incomplete frame again.
    Replace("ZvkCaptureFrameQueue", FrameQueueWithTimer, &frameQueue);
    SimFrameRequest incomplete = {};
    incomplete.fields = SimFrameHasStatus;
    incomplete.receiveStatus = -1;
    isDeliveredInside = true;
    DeliverFrame(0, incomplete);
    isDeliveredInside = false;
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(
        CountInLog(
            "FrameReceivedCallback: ERROR. Called from inside a callback of the same thread. We drop this "
            "frame."),
        1);
    EXPECT_EQ(sdk.State().queuedFrames, 15u);
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusReady));
}

TEST_F(HostTest, AReleaseWaitsForACallbackHoweverLongThatTakes)
{
    ExpectErrors();
    Stream(0);
    ASSERT_EQ(Configure(1), 0);
    ASSERT_EQ(Start(1), 0);
    std::atomic<bool> isInCallback{false};
    std::atomic<bool> mayGoOn{false};
    timer = [&] {
        isInCallback = true;
        while (!mayGoOn) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    };
    Replace("ZvkCaptureFrameQueue", FrameQueueWithTimer, &frameQueue);
    std::thread camera([&] {
        SimFrameRequest incomplete = {};
        incomplete.fields = SimFrameHasStatus;
        incomplete.receiveStatus = -1;
        sdk.SimEmitFrame(0, &incomplete);
    });
    while (!isInCallback) {
        std::this_thread::yield();
    }
    std::atomic<bool> wentOn{false};
    std::thread host([&] {
        EXPECT_EQ(HostCalls(EntryPoint(), Channel(0)).Release(1), 0);
        wentOn = mayGoOn.load();
    });
    std::this_thread::sleep_for(
        std::chrono::milliseconds(800)); // a lock that gives up does so in half of that
    mayGoOn = true;
    host.join();
    camera.join();
    EXPECT_TRUE(wentOn) << "the release went on without the lock";
    EXPECT_EQ(Status(0), static_cast<std::uint32_t>(ImageStatusPending));
}

TEST_F(HostTest, ManyThreadsCallEverythingWhileFramesArrive)
{
    ExpectErrors();
    Open();
    ASSERT_EQ(ChannelCount(), 3u);
    const VideoChannelDescriptor channel = Channel(0);
    constexpr int kThreads = 16;
    constexpr int kCalls = 150;
    std::atomic<bool> done{false};
    std::thread emitter([&] {
        for (std::uint32_t i = 0; !done; ++i) {
            sdk.SimEmitFrame(i % 3, nullptr);
        }
    });
    std::vector<std::thread> hosts;
    for (int thread = 0; thread < kThreads; ++thread) {
        hosts.emplace_back([&, thread] {
            std::mt19937 random(static_cast<unsigned>(thread + 1));
            HostCalls host(EntryPoint(), channel);
            for (int call = 0; call < kCalls; ++call) {
                const auto id = static_cast<std::int64_t>(random() % 4) - (random() % 16 == 0 ? 4 : 0);
                CallAnything(host, Drawing::Threads, id, std::size_t{64} * 48 * 3, random);
                if (random() % 128 == 0) {
                    host.GetVideoChannel(call % 4, Guarded<VideoChannelDescriptor>(684).Get());
                }
            }
        });
    }
    for (std::thread& host : hosts) {
        host.join();
    }
    done = true;
    emitter.join();
    // Whatever state that left, a host can begin anew.
    Stream(1);
    DeliverFrames(1);
    EXPECT_EQ(Status(1), static_cast<std::uint32_t>(ImageStatusReady));
    ExpectViolations(); // stops without starts
}

TEST_F(HostTest, CallbacksFromManyThreadsOfTheSdk)
{
    ExpectErrors();
    Stream(0);
    ASSERT_EQ(Configure(1), 0);
    ASSERT_EQ(Start(1), 0);
    std::vector<std::thread> emitters;
    std::atomic<int> emitted{0};
    for (int thread = 0; thread < 8; ++thread) {
        emitters.emplace_back([&, thread] {
            for (int i = 0; i < 200; ++i) {
                SimFrameRequest request = {};
                request.fields = SimFrameHasStatus;
                request.receiveStatus = i % 5 == 0 ? 1 : 0;
                if (sdk.SimEmitFrame(static_cast<std::uint32_t>(thread % 2), &request) == 0 &&
                    request.receiveStatus == 0) {
                    ++emitted;
                }
            }
        });
    }
    int fetched = 0;
    std::vector<unsigned char> image(64 * 48 * 3);
    const auto fetchAll = [&] {
        for (const std::int64_t id : {0, 1}) {
            TestHost::Fetch(id, image.data());
            fetched += ImageStatus() == ImageStatusReady ? 1 : 0;
        }
    };
    for (int i = 0; i < 400; ++i) {
        fetchAll();
    }
    for (std::thread& emitter : emitters) {
        emitter.join();
    }
    for (int i = 0; i < 16; ++i) {
        fetchAll();
    }
    EXPECT_EQ(fetched, emitted) << "a frame was lost";
    EXPECT_EQ(sdk.State().queuedFrames, 32u);
}

} // namespace

} // namespace maravel::test
