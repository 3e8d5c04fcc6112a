// The fixture of the simulated cameras' tests: a started library, frames and a counting callback. Its end
// asserts that nothing was left open and, unless a test says what it did wrong, that nothing was done wrong.
#pragma once

#include "SimulatedLibrary.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace maravel::test {

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

    bool WaitFor(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(10))
    {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, timeout, [&] { return all.size() >= count; });
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
        if (arrivals->requeue != nullptr)
            arrivals->requeue->ZvkCaptureFrameQueue(camera, frame, &Callback);
        arrivals->changed.notify_all();
    }
};

class SimulatedTest : public testing::Test
{
protected:
    void SetUp() override { sim.SimReset(); }

    void TearDown() override
    {
        if (expectViolations) {
            EXPECT_NE(Violations(), "");
        }
        else {
            EXPECT_EQ(Violations(), "");
        }
        sim.ZvkShutdown();
        SimStateInfo state{};
        sim.SimState(&state);
        EXPECT_EQ(state.workerThreads, 0U);
        sim.SimReset();
    }

    // Starts with the description's text, or with the cameras that come with the library.
    void Start(const char* description = nullptr)
    {
        ASSERT_EQ(sim.SimSetDescription(description), ZvkErrorSuccess);
        ASSERT_EQ(sim.ZvkStartup(nullptr), ZvkErrorSuccess) << LastError();
    }

    ZvkHandle_t Open(std::uint32_t index)
    {
        std::vector<ZvkCameraInfo_t> cameras(32);
        std::uint32_t count = 0;
        EXPECT_EQ(sim.ZvkCamerasList(cameras.data(), 32, &count, sizeof(ZvkCameraInfo_t)), ZvkErrorSuccess);
        EXPECT_LT(index, count);
        ZvkHandle_t camera = nullptr;
        EXPECT_EQ(sim.ZvkCameraOpen(cameras[index].cameraIdString, ZvkAccessModeFull, &camera),
                  ZvkErrorSuccess);
        return camera;
    }

    // Announces frames of the payload's size, starts the capture and queues them.
    void Capture(ZvkHandle_t camera, std::size_t count)
    {
        std::uint32_t payload = 0;
        ASSERT_EQ(sim.ZvkPayloadSizeGet(camera, &payload), ZvkErrorSuccess);
        for (std::size_t i = 0; i < count; ++i) {
            buffers.emplace_back(payload, static_cast<std::uint8_t>(0xEE));
            ZvkFrame_t& frame = frames.emplace_back();
            frame.buffer = buffers.back().data();
            frame.bufferSize = payload;
            frame.context[0] = &arrivals;
            ASSERT_EQ(sim.ZvkFrameAnnounce(camera, &frame, sizeof(frame)), ZvkErrorSuccess);
        }
        ASSERT_EQ(sim.ZvkCaptureStart(camera), ZvkErrorSuccess);
        for (std::size_t i = frames.size() - count; i < frames.size(); ++i)
            ASSERT_EQ(sim.ZvkCaptureFrameQueue(camera, &frames[i], &Arrivals::Callback), ZvkErrorSuccess);
    }

    void Release(ZvkHandle_t camera)
    {
        EXPECT_EQ(sim.ZvkCaptureEnd(camera), ZvkErrorSuccess);
        EXPECT_EQ(sim.ZvkCaptureQueueFlush(camera), ZvkErrorSuccess);
        EXPECT_EQ(sim.ZvkFrameRevokeAll(camera), ZvkErrorSuccess);
        EXPECT_EQ(sim.ZvkCameraClose(camera), ZvkErrorSuccess);
    }

    void Run(ZvkHandle_t camera, const char* command)
    {
        EXPECT_EQ(sim.ZvkFeatureCommandRun(camera, command), ZvkErrorSuccess) << command;
    }
    void SetEnum(ZvkHandle_t camera, const char* name, const char* value)
    {
        EXPECT_EQ(sim.ZvkFeatureEnumSet(camera, name, value), ZvkErrorSuccess) << name << " = " << value;
    }
    std::int64_t GetInt(ZvkHandle_t handle, const char* name)
    {
        std::int64_t value = -1;
        EXPECT_EQ(sim.ZvkFeatureIntGet(handle, name, &value), ZvkErrorSuccess) << name;
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
    SimStatistics Statistics(std::uint32_t index)
    {
        SimStatistics statistics{};
        EXPECT_EQ(sim.SimCameraStatistics(index, &statistics), ZvkErrorSuccess);
        return statistics;
    }

    SimulatedLibrary sim;
    Arrivals arrivals;
    std::deque<std::vector<std::uint8_t>> buffers;
    std::deque<ZvkFrame_t> frames;
    bool expectViolations = false;
};

} // namespace maravel::test
