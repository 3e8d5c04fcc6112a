// Frame records from inside: where they and their buffers lie, which no host can see.
#include "acquisition/Frames.h"

#include <gtest/gtest.h>

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

} // namespace

} // namespace maravel
