// The fixture of the simulated cameras' tests: a library, a camera, frames and a counting callback. Its end
// asserts that nothing was left open and, unless a test says what it did wrong, that nothing was done wrong.
#pragma once

#include "simulated/SdkLibraries.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#define EXPECT_OK(call) EXPECT_EQ(call, ZvkErrorSuccess)
#define ASSERT_OK(call) ASSERT_EQ(call, ZvkErrorSuccess)

namespace maravel::test {

// The cameras that come with the library.
enum Camera : std::uint32_t
{
    Mono,
    Bayer,
    Usb,
    Legacy
};

// What the frame callback saw.
struct Arrivals
{
    struct Arrival
    {
        ZvkHandle_t camera;
        ZvkHandle_t stream;
        ZvkFrame_t frame; // a copy
        ZvkFrame_t* record;
    };

    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Arrival> all;
    SimulatedLibrary* requeue = nullptr; // set: the callback queues the frame again

    bool WaitFor(std::size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(10), [&] { return all.size() >= count; });
    }
    std::size_t Count()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return all.size();
    }
    Arrival At(std::size_t index)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return all.at(index);
    }

    // The frame's context names its Arrivals.
    static void Callback(ZvkHandle_t camera, ZvkHandle_t stream, ZvkFrame_t* frame)
    {
        auto* arrivals = static_cast<Arrivals*>(frame->context[0]);
        const std::lock_guard<std::mutex> lock(arrivals->mutex);
        arrivals->all.push_back({camera, stream, *frame, frame});
        if (arrivals->requeue != nullptr) {
            arrivals->requeue->ZvkCaptureFrameQueue(camera, frame, &Callback);
        }
        arrivals->changed.notify_all();
    }
};

class SimulatedTest : public testing::Test
{
protected:
    void SetUp() override { sim.SimReset(); }

    void TearDown() override
    {
        if (camera != nullptr) {
            Release();
        }
        EXPECT_EQ(Violations() != "", expectViolations) << Violations();
        sim.ZvkShutdown();
        SimStateInfo state{};
        sim.SimState(&state);
        EXPECT_EQ(state.workerThreads, 0U);
        sim.SimReset();
    }

    // Starts with the description's text or, when it is empty, with the cameras that come with the library.
    void Start(const std::string& description = {})
    {
        ASSERT_OK(sim.SimSetDescription(description.empty() ? nullptr : description.c_str()));
        ASSERT_OK(sim.ZvkStartup(nullptr)) << LastError();
    }
    void Open(std::uint32_t index, const std::string& description = {})
    {
        Start(description);
        camera = OpenAnother(index);
    }
    ZvkHandle_t OpenAnother(std::uint32_t index)
    {
        ZvkCameraInfo_t cameras[32];
        std::uint32_t count = 0;
        EXPECT_OK(sim.ZvkCamerasList(cameras, 32, &count, sizeof(ZvkCameraInfo_t)));
        EXPECT_LT(index, count);
        ZvkHandle_t handle = nullptr;
        EXPECT_OK(sim.ZvkCameraOpen(cameras[index].cameraIdString, ZvkAccessModeFull, &handle));
        return handle;
    }

    // Announces frames of the payload's size, starts the capture and queues them.
    void Capture(std::size_t count)
    {
        std::uint32_t payload = 0;
        ASSERT_OK(sim.ZvkPayloadSizeGet(camera, &payload));
        for (std::size_t i = 0; i < count; ++i) {
            buffers.emplace_back(payload, static_cast<std::uint8_t>(0xEE));
            ZvkFrame_t& frame = frames.emplace_back();
            frame.buffer = buffers.back().data();
            frame.bufferSize = payload;
            frame.context[0] = &arrivals;
            ASSERT_OK(sim.ZvkFrameAnnounce(camera, &frame, sizeof(frame)));
        }
        ASSERT_OK(sim.ZvkCaptureStart(camera));
        for (std::size_t i = frames.size() - count; i < frames.size(); ++i) {
            ASSERT_OK(sim.ZvkCaptureFrameQueue(camera, &frames[i], &Arrivals::Callback));
        }
    }
    // Acquires with frames that are queued again and again.
    void Stream(std::size_t count)
    {
        arrivals.requeue = &sim;
        Capture(count);
        Run("AcquisitionStart");
    }
    void EndCapture()
    {
        EXPECT_OK(sim.ZvkCaptureEnd(camera));
        EXPECT_OK(sim.ZvkCaptureQueueFlush(camera));
        EXPECT_OK(sim.ZvkFrameRevokeAll(camera));
    }
    void Release()
    {
        EndCapture();
        EXPECT_OK(sim.ZvkCameraClose(camera));
        camera = nullptr;
    }

    void Run(const char* command) { EXPECT_OK(sim.ZvkFeatureCommandRun(camera, command)) << command; }
    void SetInt(const char* name, std::int64_t value)
    {
        EXPECT_OK(sim.ZvkFeatureIntSet(camera, name, value)) << name << " = " << value;
    }
    void SetFloat(const char* name, double value)
    {
        EXPECT_OK(sim.ZvkFeatureFloatSet(camera, name, value)) << name << " = " << value;
    }
    void SetEnum(const char* name, const char* value)
    {
        EXPECT_OK(sim.ZvkFeatureEnumSet(camera, name, value)) << name << " = " << value;
    }
    std::int64_t GetInt(ZvkHandle_t handle, const char* name)
    {
        std::int64_t value = -1;
        EXPECT_OK(sim.ZvkFeatureIntGet(handle, name, &value)) << name;
        return value;
    }
    std::int64_t GetInt(const char* name) { return GetInt(camera, name); }
    double GetFloat(const char* name)
    {
        double value = -1;
        EXPECT_OK(sim.ZvkFeatureFloatGet(camera, name, &value)) << name;
        return value;
    }
    std::string GetEnum(const char* name)
    {
        const char* value = "";
        EXPECT_OK(sim.ZvkFeatureEnumGet(camera, name, &value)) << name;
        return value;
    }

    std::string Violations()
    {
        std::string text(20000, '\0');
        sim.SimViolations(text.data(), 20000);
        return text.c_str();
    }
    std::string LastError()
    {
        char text[512];
        sim.SimLastError(text, sizeof(text));
        return text;
    }
    SimStatistics Statistics()
    {
        SimStatistics statistics{};
        EXPECT_OK(sim.SimCameraStatistics(0, &statistics));
        return statistics;
    }
    // Long enough for a frame that must not come.
    static void WaitABit() { std::this_thread::sleep_for(std::chrono::milliseconds(20)); }

    SimulatedLibrary sim;
    ZvkHandle_t camera = nullptr; // closed at the end
    Arrivals arrivals;
    std::deque<std::vector<std::uint8_t>> buffers;
    std::deque<ZvkFrame_t> frames;
    bool expectViolations = false;
};

} // namespace maravel::test
