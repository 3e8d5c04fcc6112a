// The adapter's state from inside: what no host can bring about or see.
#include "acquisition/FrameBuffers.h"
#include "acquisition/FrameReception.h"
#include "adapter/Lifecycle.h"
#include "core/Callbacks.h"
#include "diag/Log.h"
#include "support/SdkControl.h"
#include "support/TestPlatform.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

extern "C" std::int32_t MARAVEL_CALL GetVideoChannel(char* errorText, std::int32_t channelIndex,
                                                     VideoChannelDescriptor* descriptor) noexcept;

namespace maravel {

namespace {

std::uint32_t payloadSize = 0;

// An adapter that was started with one camera whose SDK answers only what frame buffers need.
class StateTest : public testing::Test
{
protected:
    StateTest() : lock_(g_adapterMutex)
    {
        g_apiAccess = std::make_unique<CZorvikAPIAccess>(std::wstring());
        g_imageTransformAccess = std::make_unique<CHVNImageTransformAPIAccess>(std::wstring());
        g_adapterData = std::make_unique<CAdapterData>();
        g_adapterData->Alloc(1);
        g_apiAccess->ZvkPayloadSizeGet = [](ZvkHandle_t, std::uint32_t* size) {
            *size = payloadSize;
            return ZvkErrorSuccess;
        };
        g_apiAccess->ZvkFeatureEnumGet = [](ZvkHandle_t, const char*, const char** value) {
            *value = "Mono8";
            return ZvkErrorSuccess;
        };
        g_apiAccess->ZvkFeatureEnumAsInt = [](ZvkHandle_t, const char*, const char*, std::int64_t* value) {
            *value = 0x01080001;
            return ZvkErrorSuccess;
        };
    }
    ~StateTest() override
    {
        g_adapterData.reset();
        g_imageTransformAccess.reset();
        g_apiAccess.reset();
    }

    VideoChannelData& Channel() { return g_adapterData->channels[0]; }

private:
    MutexLock lock_;
};

TEST_F(StateTest, FrameRecordsFollowThePayload)
{
    payloadSize = 2 << 20;
    ASSERT_TRUE(AllocateVideoBuffers(0));
    ASSERT_EQ(Channel().frames.size(), 8u);
    std::vector<ZvkFrame_t> before = Channel().frames;
    ASSERT_TRUE(AllocateVideoBuffers(0));
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(Channel().frames[i].buffer, before[i].buffer) << "an unchanged payload moves nothing";
        EXPECT_EQ(Channel().frames[i].context[0], before[i].context[0]);
    }
    for (const auto& [size, count] : {std::pair{512u << 10, 16u}, {9u << 20, 4u}, {2u << 20, 8u}}) {
        payloadSize = size;
        ASSERT_TRUE(AllocateVideoBuffers(0));
        ASSERT_EQ(Channel().frames.size(), count);
        for (std::uint32_t k = 0; k < count; ++k) {
            const ZvkFrame_t& frame = Channel().frames[k];
            EXPECT_EQ(frame.bufferSize, size);
            static_cast<unsigned char*>(frame.buffer)[size - 1] = 1;
            EXPECT_EQ(ContextOf(frame)->channelIndex, 0u);
            EXPECT_EQ(ContextOf(frame)->bufferIndex, k);
            EXPECT_EQ(frame.context[1], nullptr);
            EXPECT_EQ(frame.receiveStatus, 0);
        }
    }
    EXPECT_FALSE(AllocateVideoBuffers(1));
    EXPECT_FALSE(AllocateVideoBuffers(-1));
}

TEST_F(StateTest, MissingObjectsAreNoticed)
{
    test::PrivateMachine machine;
    InitLog();
    g_imageTransformAccess.reset();
    EXPECT_FALSE(AllocateVideoBuffers(0));
    CloseLog();
    std::ifstream log(machine.LogFile());
    const std::string text{std::istreambuf_iterator<char>(log), std::istreambuf_iterator<char>()};
    EXPECT_NE(text.find("] AllocateVideoBuffers: ERROR. Invalid class pointer."), std::string::npos) << text;
    g_adapterData->Alloc(2); // without a Free in between
    EXPECT_EQ(g_adapterData->cameraCount, 2u);
    g_adapterData->Free();
    g_adapterData->Free();
    EXPECT_EQ(g_adapterData->cameraCount, 0u);
    EXPECT_EQ(g_adapterData->channels, nullptr);
    g_adapterData->Alloc(0);
    EXPECT_EQ(g_adapterData->cameraCount, 0u);
}

TEST_F(StateTest, ACallbackWithoutAdapterDataDropsTheFrame)
{
    static int handle = 0;
    FrameContext context = {0, 0};
    ZvkFrame_t frame = {};
    frame.context[0] = &context;
    {
        const MutexLock lock(g_frameMutex);
        g_acquiringCameras.insert(&handle);
    }
    FrameReceivedCallback(&handle, &handle, &frame);
    const MutexLock lock(g_frameMutex);
    g_acquiringCameras.clear();
    EXPECT_TRUE(Channel().fifo.IsEmpty());
}

TEST(StateFromOutside, ANullFrameInTheFifoIsReportedAndStays)
{
    VideoChannelData* channel = nullptr;
    {
        const MutexLock lock(g_adapterMutex);
        g_apiAccess = std::make_unique<CZorvikAPIAccess>(std::wstring());
        g_adapterData = std::make_unique<CAdapterData>();
        g_adapterData->Alloc(1);
        channel = &g_adapterData->channels[0];
        const MutexLock frameLock(g_frameMutex);
        channel->fifo.Append(nullptr);
    }
    char text[256] = "";
    char image[4] = "";
    std::uint32_t status = 0;
    EXPECT_EQ(GetImage(text, 0, image, &status), 1);
    EXPECT_EQ(status, static_cast<std::uint32_t>(ImageStatusError));
    EXPECT_STREQ(text, "GetImage: ERROR while accessing FIFO. channelID=0.");
    const MutexLock lock(g_adapterMutex);
    {
        const MutexLock frameLock(g_frameMutex);
        EXPECT_EQ(channel->fifo.Count(), 1u);
    }
    g_adapterData.reset();
    g_apiAccess.reset();
}

// What a start that ran out of memory half-way leaves, and what the host is told of it.
TEST(StateFromOutside, EveryMissingObjectHasItsOwnWords)
{
    char text[256] = "";
    VideoChannelDescriptor descriptor = {};
    {
        const MutexLock lock(g_adapterMutex);
        EXPECT_FALSE(InitializeVideoChannel(text, descriptor, 0));
        EXPECT_STREQ(text, "InitializeVideoChannel: ERROR. INVALID class pointer.");
        g_apiAccess = std::make_unique<CZorvikAPIAccess>(std::wstring());
    }
    EXPECT_EQ(GetVideoChannel(text, 1, &descriptor), 1);
    EXPECT_STREQ(text, "GetVideoChannel: ERROR while loading ImageTransformLibrary.");
    {
        const MutexLock lock(g_adapterMutex);
        g_imageTransformAccess = std::make_unique<CHVNImageTransformAPIAccess>(std::wstring());
    }
    EXPECT_EQ(GetVideoChannel(text, 1, &descriptor), 1);
    EXPECT_STREQ(text, "GetVideoChannel: ERROR. Invalid AdapterData pointer.");
    const MutexLock lock(g_adapterMutex);
    g_imageTransformAccess.reset();
    g_apiAccess.reset();
}

} // namespace

} // namespace maravel
