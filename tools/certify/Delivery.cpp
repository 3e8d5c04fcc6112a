// Images through the adapter: when they come, in which size and format, and in which order.
#include "Groups.h"
#include "Images.h"
#include "Values.h"

#include <thread>

namespace maravel::certify::delivery {

using std::chrono::milliseconds;

constexpr milliseconds kQuiet{100}; // in which nothing may come

// The same for an image whose exposure would begin with it.
milliseconds Quiet(const Session& session, const Acquisition& acquisition)
{
    return acquisition.Patience() - session.Asked().framePatience + kQuiet;
}

CommonParams Triggered(const Session& session, bool continuous, bool hardware)
{
    CommonParams params = FreeRun(session.Channel());
    params.acqContinuous = continuous ? 1 : 0;
    params.acqTriggered = hardware ? 1 : 0;
    return params;
}

void ExpectPending(const host::Channel& channel)
{
    CERTIFY_EQUAL(channel.QueryImageStatus(), std::uint32_t{ImageStatusPending});
    ImageAttributes attributes{};
    std::uint32_t status = 0;
    channel.GetImageAttributes(&attributes, &status);
    CERTIFY_EQUAL(status, std::uint32_t{ImageStatusPending});
}

// Puts the channel's value back at its end.
class KeptByAdapter
{
public:
    KeptByAdapter(const host::Channel& channel, std::string name)
        : channel_(channel), name_(std::move(name)), value_(Read(channel, name_))
    {
    }
    ~KeptByAdapter() { channel_.WriteValue(name_, value_); }
    KeptByAdapter(const KeptByAdapter&) = delete;
    KeptByAdapter& operator=(const KeptByAdapter&) = delete;

private:
    const host::Channel& channel_;
    const std::string name_, value_;
};

const Check kChecks[] = {
    {"Q1", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         Acquisition acquisition(session);
         for (int i = 0; i < 5; ++i) {
             const ImageAttributes image = acquisition.Next().attributes;
             CERTIFY_EQUAL(std::to_string(image.width), Read(session.Channel(), "Width"));
             CERTIFY_EQUAL(std::to_string(image.height), Read(session.Channel(), "Height"));
             CERTIFY_EQUAL(image.pitch, image.width);
             CERTIFY(image.regionX == 0 && image.regionY == 0 && image.regionWidth == image.width &&
                         image.regionHeight == image.height,
                     "the region is not the image");
         }
         acquisition.Stop();
     }},
    {"Q2", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         std::int32_t type = 0;
         if (!session.Channel().GetFeatureType("TriggerSoftware", &type)) {
             throw NotSupported{"the camera has no software trigger"};
         }
         Acquisition acquisition(session, Triggered(session, false, false));
         for (int i = 0; i < 3; ++i) {
             if (i > 0) {
                 const host::Outcome next = session.Channel().StartAcquisition();
                 CERTIFY(next.ok, "the next image is refused: " << next.text);
             }
             acquisition.Next();
             CERTIFY(!acquisition.Comes(Quiet(session, acquisition)), "one start gave two images");
         }
         acquisition.Stop();
     }},
    {"Q3", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         std::int32_t type = 0;
         if (!session.Channel().GetFeatureType("TriggerMode", &type)) {
             throw NotSupported{"the camera has no trigger"};
         }
         for (const bool continuous : {true, false}) {
             Acquisition acquisition(session, Triggered(session, continuous, true));
             CERTIFY(!acquisition.Comes(Quiet(session, acquisition)), "an image comes without a trigger");
             acquisition.Stop();
         }
     }},
    {"Q4", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         std::string most;
         if (!session.Channel().ReadValue("WidthMax", &most) ||
             !session.Channel().ReadValue("HeightMax", &most)) {
             throw NotSupported{"the camera does not tell its largest width and height"};
         }
         CommonParams params = FreeRun(session.Channel());
         params.roiwidth = params.roiheight = 1 << 30;
         Acquisition acquisition(session, params);
         const ImageAttributes image = acquisition.Next().attributes;
         CERTIFY_EQUAL(std::to_string(image.width), Read(session.Channel(), "WidthMax"));
         CERTIFY_EQUAL(std::to_string(image.height), Read(session.Channel(), "HeightMax"));
         CERTIFY(image.offsetX == 0 && image.offsetY == 0, "the whole sensor does not begin at 0, 0");
     }},
    {"Q5", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         const KeptByAdapter kept(session.Channel(), "PixelFormat");
         Findings findings;
         for (const std::string& format : session.Channel().EnumEntries("PixelFormat")) {
             findings.About(format, [&] {
                 const host::Outcome outcome = session.Channel().WriteValue("PixelFormat", format);
                 CERTIFY(outcome.ok, "it cannot be set: " << outcome.text);
                 const Image image = Acquisition(session).Next();
                 CERTIFY(
                     image.bytes.size() < 64 ||
                         std::ranges::any_of(image.bytes, [](auto byte) { return byte != Memory::kFill; }),
                     "GetImage wrote nothing");
             });
         }
         findings.Judge();
     }},
    {"Q6", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         Acquisition acquisition(session);
         std::uint64_t last = acquisition.Next().attributes.timestamp;
         acquisition.Comes(acquisition.Patience());
         std::this_thread::sleep_for(kQuiet); // so that some wait
         for (int i = 0; i < 8; ++i) {
             const std::uint64_t now = acquisition.Next().attributes.timestamp;
             CERTIFY(now > last, "an image with the time stamp " << now << " follows " << last);
             last = now;
         }
     }},
    {"Q7", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         Read(session.Channel(), "Width"); // opens
         ExpectPending(session.Channel());
         Acquisition acquisition(session);
         CERTIFY(acquisition.Comes(acquisition.Patience()), "no image comes");
         acquisition.Stop();
         ExpectPending(session.Channel()); // what waited is forgotten
     }},
    {"Q8", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         Acquisition acquisition(session);
         CERTIFY(acquisition.Comes(acquisition.Patience()), "no image comes");
         ImageAttributes first{};
         std::uint32_t status = 0;
         session.Channel().GetImageAttributes(&first, &status);
         CERTIFY_EQUAL(acquisition.Next().attributes.timestamp, first.timestamp);
     }},
    {"Q9", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         for (int i = 0; i < 20; ++i) {
             Acquisition acquisition(session);
             acquisition.Next();
             acquisition.Stop();
         }
     }},
    {"Q10", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         Acquisition first(session);
         first.Next();
         // Every other channel is handed out anew while this one streams.
         for (std::size_t i = 1; i < session.Channels().size(); ++i) {
             VideoChannelDescriptor descriptor{};
             descriptor.structSize = sizeof(descriptor);
             if (i != session.CameraIndex()) {
                 session.HandOut(i, &descriptor);
             }
         }
         first.Next();
         if (session.CameraIndex() == 0) {
             return; // index 0 starts the adapter anew
         }
         VideoChannelDescriptor descriptor{};
         descriptor.structSize = sizeof(descriptor);
         session.HandOut(session.CameraIndex(), &descriptor);
         Acquisition(session).Next();
     }},
};

const Group kGroup{'Q', kChecks};

} // namespace maravel::certify::delivery
