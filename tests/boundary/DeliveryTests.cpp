// What the host gets of a received frame: attributes and image.
#include "boundary/AdapterTest.h"

#include "sdk/ZvkTypes.h"

namespace maravel::test {

namespace {

class DeliveryTest : public AdapterTest
{
protected:
    static SimFrameRequest Shaped(std::uint32_t width, std::uint32_t height, std::uint32_t pixelFormat)
    {
        SimFrameRequest request = {};
        request.fields = SimFrameHasSize | SimFrameHasPixelFormat;
        request.width = width;
        request.height = height;
        request.pixelFormat = pixelFormat;
        return request;
    }

    // Streams the colour camera with a frame of the given bytes in the given format.
    void StreamColor(const char* format)
    {
        Open();
        ASSERT_EQ(Configure(1), 0);
        ASSERT_EQ(Write(1, "PixelFormat", format), 0) << TextNow();
        ASSERT_EQ(Start(1), 0) << TextNow();
    }
};

constexpr std::size_t kColorPixels = 32 * 16;

// A transform that takes every image and writes nothing.
ZvkError_t CompareNothing(const ZvkImage*, ZvkImage*, const ZvkTransformInfo*, std::uint32_t)
{
    return ZvkErrorSuccess;
}

TEST_F(DeliveryTest, MonochromeFormatsArriveByteForByte)
{
    struct Row
    {
        const char* format;
        std::int32_t pixelType;
        std::size_t payload;
    };
    const Row rows[] = {
        {"Mono8", 0, 64 * 48},       {"Mono10", 12, 64 * 48 * 2}, {"Mono12", 13, 64 * 48 * 2},
        {"Mono14", 16, 64 * 48 * 2}, {"Mono16", 9, 64 * 48 * 2},  {"Mono12Packed", 18, 64 * 48 * 3 / 2},
    };
    Open();
    ASSERT_EQ(Configure(0), 0);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.format);
        ASSERT_EQ(Write(0, "PixelFormat", row.format), 0) << TextNow();
        ASSERT_EQ(Start(0), 0);
        EXPECT_EQ(CountInLog(std::string("AllocateVideoBuffers: Incoming video format: ZvkPixelFormat") +
                             row.format + " Channel: 0 Camera: 0x" +
                             LogText().substr(LogText().rfind("Camera: 0x") + 10, 8)),
                  1);
        std::vector<unsigned char> bytes(row.payload);
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<unsigned char>(i * 7 + i / 251);
        }
        SimFrameRequest request = {};
        request.fields = SimFrameHasBytes;
        request.bytes = bytes.data();
        request.byteCount = static_cast<std::uint32_t>(bytes.size());
        DeliverFrame(0, request);
        Guarded<ImageAttributes> attributes(56);
        EXPECT_EQ(Attributes(0, attributes.Get()), 0);
        EXPECT_EQ(ImageStatus(), static_cast<std::uint32_t>(ImageStatusReady));
        EXPECT_EQ(attributes->pixelType, row.pixelType);
        EXPECT_EQ(attributes->pitch, 64);
        EXPECT_EQ(Fetch(0, row.payload), bytes);
        ASSERT_EQ(Stop(0), 0);
    }
}

TEST_F(DeliveryTest, AttributesHoldTheFramesOwnFields)
{
    Stream(0);
    SimFrameRequest request = {};
    request.fields = SimFrameHasSize | SimFrameHasOffset | SimFrameHasTimestamp;
    request.width = 40;
    request.height = 30;
    request.offsetX = 8;
    request.offsetY = 6;
    request.timestamp = 0x0123456789ABCDEF;
    DeliverFrame(0, request);
    DeliverFrames(0);
    for (const std::int32_t size : {44, 45, 56, -1, 0}) {
        SCOPED_TRACE(size);
        Guarded<ImageAttributes> attributes(size);
        EXPECT_EQ(Attributes(0, attributes.Get()), 0); // the same frame each time
        const std::int32_t expected[] = {size, 40, 30, 40, 0, 0,
                                         0,    40, 30, 8,  6, static_cast<std::int32_t>(0xA5A5A5A5)};
        EXPECT_EQ(std::memcmp(attributes.Bytes(), expected, sizeof expected), 0);
        EXPECT_EQ(attributes->timestamp, size > 44 ? 0x0123456789ABCDEFu : 0xA5A5A5A5A5A5A5A5u);
    }
    EXPECT_EQ(CountInLog("GetImageAttributes: INFO offsetX=8, offsetY=6, width=40, height=30"), 5);
    Fetch(0, 3072);
    Guarded<ImageAttributes> next;
    EXPECT_EQ(Attributes(0, next.Get()), 0);
    EXPECT_EQ(next->width, 64);
}

TEST_F(DeliveryTest, AnEmptyFifoAnswersPending)
{
    Stream(0);
    Guarded<ImageAttributes> attributes;
    EXPECT_EQ(Attributes(0, attributes.Get()), 0);
    EXPECT_EQ(ImageStatus(), static_cast<std::uint32_t>(ImageStatusPending));
    EXPECT_EQ(attributes->width, static_cast<std::int32_t>(0xA5A5A5A5));
    ClearLog();
    EXPECT_EQ(Fetch(0, 16, 0, ImageStatusPending), std::vector<unsigned char>(16, 0xA5));
    Fetch(0, 16, 0, ImageStatusPending);
    // The message has no line end of its own.
    EXPECT_NE(LogText().find("] GetImage: ERRIR, FIFO empty, pending.["), std::string::npos);
    EXPECT_EQ(TextNow(), "");
}

TEST_F(DeliveryTest, ColourArrivesAsThreePlanes)
{
    StreamColor("RGB8");
    std::vector<unsigned char> rgb(kColorPixels * 3);
    std::vector<unsigned char> planes(kColorPixels * 3);
    for (std::size_t i = 0; i < kColorPixels; ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            rgb[3 * i + c] = planes[c * kColorPixels + i] = static_cast<unsigned char>(c * 80 + i % 79);
        }
    }
    SimFrameRequest request = {};
    request.fields = SimFrameHasBytes;
    request.bytes = rgb.data();
    request.byteCount = static_cast<std::uint32_t>(rgb.size());
    DeliverFrame(1, request);
    Guarded<ImageAttributes> attributes(56);
    EXPECT_EQ(Attributes(1, attributes.Get()), 0);
    EXPECT_EQ(attributes->pixelType, 2);
    EXPECT_EQ(Fetch(1, planes.size()), planes);
    EXPECT_EQ(sdk.State().queuedFrames, 16u);
}

TEST_F(DeliveryTest, AFormatWithoutConversionEmptiesTheConversion)
{
    StreamColor("BayerRG8");
    DeliverFrames(1);
    Fetch(1, kColorPixels * 3);
    ASSERT_EQ(Stop(1), 0);
    ASSERT_EQ(Write(1, "PixelFormat", "Mono8"), 0);
    ASSERT_EQ(Start(1), 0);
    const std::uint64_t transforms = sdk.SimTransformCallCount("ZvkImageTransform");
    EXPECT_EQ(transforms, 1u);
    DeliverFrames(1);
    Fetch(1, kColorPixels);
    EXPECT_EQ(sdk.SimTransformCallCount("ZvkImageTransform"), transforms);
}

TEST_F(DeliveryTest, AFrameThatCannotBeTransformedIsQueuedAgain)
{
    ExpectErrors();
    struct Row
    {
        const char* entry;
        const char* line;
    };
    const Row rows[] = {
        {"ZvkSetImageInfoFromPixelFormat",
         "GetImage: ERROR. ZvkSetImageInfoFromPixelFormat failed. Reason=ZvkErrorBadParameter (-7)"},
        {"ZvkImageTransform", "GetImage: ERROR. ZvkImageTransform failed. Reason=ZvkErrorBadParameter (-7)"},
    };
    StreamColor("BGR8");
    for (const Row& row : rows) {
        DeliverFrames(1, 2);
        sdk.SimTransformFailCall(row.entry, 1, -7, 0);
        EXPECT_EQ(Fetch(1, kColorPixels * 3), std::vector<unsigned char>(kColorPixels * 3, 0xA5));
        EXPECT_EQ(CountInLog(row.line), 1);
        EXPECT_EQ(TextNow(), "");
        EXPECT_EQ(sdk.State().queuedFrames, 15u);
        EXPECT_NE(Fetch(1, kColorPixels * 3), std::vector<unsigned char>(kColorPixels * 3, 0xA5));
        EXPECT_EQ(sdk.State().queuedFrames, 16u);
    }
}

TEST_F(DeliveryTest, AFrameThatDoesNotFitItsBuffersIsQueuedAgain)
{
    ExpectErrors();
    struct Row
    {
        std::uint32_t width, height, format;
        const char* refusal; // null: delivered
    };
    const char* const ofBuffer = "does not fit its buffer of 1536 bytes. channelID=1.";
    const char* const ofImage = "does not fit the conversion image of 1536 bytes. channelID=1.";
    const char* const ofKind =
        "does not fit a channel started for format 0x02180014. Stop it, then start it.";
    const Row rows[] = {
        {32, 16, 0x02180014, nullptr},
        {33, 16, 0x02180014, ofBuffer},
        {16, 8, 0x02180014, "ZvkImageTransform failed."},
        {0xFFFFFFFF, 0xFFFFFFFF, 0x02180014, ofBuffer},
        {32, 16, 0x02300033, ofBuffer},
        {33, 16, 0x01080009, ofImage}, // 8 bits a pixel: its pixels are there
        {32 * 3, 16, 0x01080009, ofImage},
        {32 * 3, 17, 0x01080009, ofBuffer},
        {0x10000, 0x10000, 0x01080009, ofBuffer},
        {32, 16, 0x01080001, ofKind}, // the host was told of 512 bytes
        {32, 17, 0x01080001, ofKind},
        {32, 16, 0x010800FF, "ZvkSetImageInfoFromPixelFormat failed."},
        {32, 16, 0, "ZvkSetImageInfoFromPixelFormat failed."},
    };
    StreamColor("RGB8");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.width);
        ClearLog();
        DeliverFrame(1, Shaped(row.width, row.height, row.format));
        const bool untouched =
            Fetch(1, kColorPixels * 3) == std::vector<unsigned char>(kColorPixels * 3, 0xA5);
        EXPECT_EQ(untouched, row.refusal != nullptr);
        EXPECT_TRUE(IsInLog(row.refusal != nullptr ? row.refusal : "Frame stored")) << row.refusal;
        EXPECT_EQ(Log().back().starts_with("GetImage: ERROR. "), row.refusal != nullptr) << Log().back();
        EXPECT_EQ(sdk.State().queuedFrames, 16u);
    }
}

TEST_F(DeliveryTest, AFrameOfAnotherFormatIsNotWrittenWhereTheHostHasLessMemoryThanItTakes)
{
    ExpectErrors();
    const struct
    {
        const char* started;
        std::uint32_t sent;
        std::size_t announced; // bytes, by the frame's own size and format
        bool delivered;
    } rows[] = {
        {"Mono8", 0x01080001, 64 * 48, true},       {"Mono8", 0x01100005, 64 * 48 * 2, true},
        {"Mono16", 0x01080001, 64 * 48, false},     {"Mono16", 0x010C0006, 64 * 48 * 3 / 2, false},
        {"Mono12", 0x01100007, 64 * 48 * 2, true},  {"Mono8", 0x02180014, 64 * 48 * 3, false},
        {"Mono16", 0x01080009, 64 * 48 * 3, false},
    };
    Open();
    ASSERT_EQ(Configure(0), 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.started);
        ASSERT_EQ(Write(0, "PixelFormat", row.started), 0);
        ASSERT_EQ(Start(0), 0);
        DeliverFrame(0, Shaped(64, 48, row.sent));
        EXPECT_EQ(Fetch(0, row.announced) != std::vector<unsigned char>(row.announced, 0xA5), row.delivered);
        EXPECT_EQ(sdk.State().queuedFrames, 16u);
        ASSERT_EQ(Stop(0), 0);
    }
}

TEST_F(DeliveryTest, AnImageThatIsNotOfTheFramesSizeIsNotWritten)
{
    ExpectErrors();
    StreamColor("RGB8");
    ReplaceTransform("ZvkImageTransform", CompareNothing);
    DeliverFrame(1, Shaped(16, 8, 0x02180014));
    EXPECT_EQ(Fetch(1, std::size_t{16} * 8 * 3), std::vector<unsigned char>(std::size_t{16} * 8 * 3, 0xA5));
    EXPECT_EQ(
        CountInLog("GetImage: ERROR. Frame of 16 x 8 pixels was converted to 32 x 16. It is not delivered. "
                   "channelID=1."),
        1);
}

TEST_F(DeliveryTest, AFailedRestartThatLeavesNoConversionImageWritesNothing)
{
    ExpectErrors();
    StreamColor("BGR8");
    DeliverFrames(1);
    Replace("ZvkFeatureIntGet", [](ZvkHandle_t, const char*, std::int64_t* value) {
        *value = 0;
        return ZvkErrorSuccess;
    });
    ASSERT_EQ(Start(1), 1);
    EXPECT_EQ(Fetch(1, kColorPixels * 3), std::vector<unsigned char>(kColorPixels * 3, 0xA5));
    EXPECT_TRUE(IsInLog("does not fit a channel started for format"));
    sdk.SimReplaceEntry("ZvkFeatureIntGet", nullptr);
    ASSERT_EQ(Stop(1), 0);
    ASSERT_EQ(Start(1), 0);
    DeliverFrames(1);
    EXPECT_NE(Fetch(1, kColorPixels * 3), std::vector<unsigned char>(kColorPixels * 3, 0xA5));
}

TEST_F(DeliveryTest, AWrongImageSizeFromTheTransformWritesNothing)
{
    ExpectErrors();
    static std::uint32_t width;
    static std::uint32_t height;
    const auto inventing = [](ZvkPixelFormat_t, std::uint32_t, std::uint32_t, ZvkImage* image) {
        image->imageInfo.width = width;
        image->imageInfo.height = height;
        return ZvkErrorSuccess;
    };
    ReplaceTransform("ZvkSetImageInfoFromPixelFormat", inventing);
    ReplaceTransform("ZvkImageTransform", CompareNothing);
    for (const auto& [w, h] :
         {std::pair{0u, 16u}, {33u, 16u}, {0x10000u, 0x10000u}, {0xFFFFFFFFu, 0xFFFFFFFFu}}) {
        width = w;
        height = h;
        StreamColor("RGB8");
        DeliverFrames(1);
        EXPECT_EQ(Fetch(1, kColorPixels * 3), std::vector<unsigned char>(kColorPixels * 3, 0xA5));
    }
}

TEST_F(DeliveryTest, AFrameThatCannotBeQueuedAgainIsStillDelivered)
{
    ExpectErrors();
    Stream(0);
    DeliverFrames(0, 2);
    sdk.SimFailCall("ZvkCaptureFrameQueue", 1, -12, 0);
    EXPECT_NE(Fetch(0, 3072), std::vector<unsigned char>(3072, 0xA5));
    const std::string error =
        "GetImage: ERROR while re-queuing frame. channelID=0. Reason=ZvkErrorTimeout (-12)";
    EXPECT_EQ(TextNow(), error);
    EXPECT_EQ(CountInLog(error + ", (-12)"), 1);
    EXPECT_EQ(sdk.State().queuedFrames, 14u);
    Fetch(0, 3072);
    EXPECT_EQ(sdk.State().queuedFrames, 15u);
}

} // namespace

} // namespace maravel::test
