#include "ModuleFeatures.h"

#include <cstring>

namespace maravel::aravis {
namespace {

constexpr std::uint32_t kReadable = 1;
constexpr std::uint32_t kWritable = 2;

ZvkFeatureInfo_t MakeInfo(const char* name, const char* category, const char* description,
                          ZvkFeatureDataType type, std::uint32_t flags)
{
    ZvkFeatureInfo_t info{};
    info.name = info.displayName = name;
    info.category = category;
    info.sfncNamespace = "Custom";
    info.description = info.tooltip = description;
    info.unit = info.representation = "";
    info.featureDataType = type;
    info.featureFlags = flags;
    return info;
}

class TextFeature final : public Feature
{
public:
    TextFeature(const TextModule::Text& text, const char* category) : text_(text), category_(category) {}

    ZvkFeatureInfo_t Info() const override
    {
        return MakeInfo(text_.name, category_, text_.description, ZvkFeatureDataString, kReadable);
    }
    ZvkError_t QueryAccess(bool* readable, bool* writable) const override
    {
        *readable = true;
        *writable = false;
        return ZvkErrorSuccess;
    }
    ZvkError_t GetString(std::string* value) const override
    {
        value->assign(text_.value);
        return ZvkErrorSuccess;
    }
    ZvkError_t SetString(const char*) override { return ZvkErrorInvalidAccess; }
    ZvkError_t GetStringLimit(std::uint32_t* bytes) const override
    {
        *bytes = static_cast<std::uint32_t>(std::strlen(text_.value) + 1);
        return ZvkErrorSuccess;
    }

private:
    const TextModule::Text& text_;
    const char* const category_;
};

class PacketSizeFeature final : public Feature
{
public:
    explicit PacketSizeFeature(ArvDevice* device) : device_(device) {}

    ZvkFeatureInfo_t Info() const override
    {
        ZvkFeatureInfo_t info = MakeInfo("GVSPPacketSize", "/GigEVision",
                                         "Bytes of a stream packet, IP and UDP headers included.",
                                         ZvkFeatureDataInt, kReadable | kWritable);
        info.unit = "B";
        return info;
    }
    ZvkError_t QueryAccess(bool* readable, bool* writable) const override
    {
        *readable = *writable = true;
        return ZvkErrorSuccess;
    }
    ZvkError_t GetInt(std::int64_t* value) const override
    {
        Outcome outcome;
        const unsigned size = arv_gv_device_get_packet_size(ARV_GV_DEVICE(device_), outcome.Slot());
        if (!outcome.Failed()) {
            *value = size;
        }
        return outcome.Code();
    }
    ZvkError_t SetInt(std::int64_t value) override
    {
        std::int64_t minimum = 0;
        std::int64_t maximum = 0;
        const ZvkError_t error = GetIntRange(&minimum, &maximum);
        if (error != ZvkErrorSuccess) {
            return error;
        }
        if (value < minimum || value > maximum) {
            return ZvkErrorInvalidValue;
        }
        Outcome outcome;
        arv_gv_device_set_packet_size(ARV_GV_DEVICE(device_), static_cast<int>(value), outcome.Slot());
        return outcome.Code();
    }
    // The camera's own limits, within what an Ethernet packet and the 16-bit register hold.
    ZvkError_t GetIntRange(std::int64_t* minimum, std::int64_t* maximum) const override
    {
        constexpr std::int64_t smallest = 576;
        constexpr std::int64_t largest = 16260;
        Outcome outcome;
        gint64 low = 0;
        gint64 high = 0;
        arv_device_get_integer_feature_bounds(device_, "GevSCPSPacketSize", &low, &high, outcome.Slot());
        *minimum = std::max<std::int64_t>(low, smallest);
        *maximum = std::min<std::int64_t>(high, largest);
        return outcome.Code();
    }
    ZvkError_t GetIntIncrement(std::int64_t* increment) const override
    {
        Outcome outcome;
        *increment = arv_device_get_integer_feature_increment(device_, "GevSCPSPacketSize", outcome.Slot());
        return outcome.Code();
    }

private:
    ArvDevice* const device_;
};

class AdjustPacketSizeFeature final : public Feature
{
public:
    AdjustPacketSizeFeature(ArvDevice* device, PacketSizeNegotiation& negotiation, backend::Mutex& control)
        : device_(device), negotiation_(negotiation), control_(control)
    {
    }

    ZvkFeatureInfo_t Info() const override
    {
        return MakeInfo("GVSPAdjustPacketSize", "/GigEVision",
                        "Finds the largest packets that arrive, and has the camera send them.",
                        ZvkFeatureDataCommand, kWritable);
    }
    ZvkError_t QueryAccess(bool* readable, bool* writable) const override
    {
        *readable = false;
        *writable = !negotiation_.IsRunning();
        return ZvkErrorSuccess;
    }
    ZvkError_t Run() override { return negotiation_.Start(device_, control_); }
    ZvkError_t IsDone(bool* done) const override
    {
        *done = !negotiation_.IsRunning();
        return ZvkErrorSuccess;
    }

private:
    ArvDevice* const device_;
    PacketSizeNegotiation& negotiation_;
    backend::Mutex& control_;
};

} // namespace

std::vector<ZvkFeatureInfo_t> TextModule::List() const
{
    std::vector<ZvkFeatureInfo_t> list;
    for (const Text& text : texts_) {
        list.push_back(TextFeature(text, category_).Info());
    }
    return list;
}

std::unique_ptr<Feature> TextModule::Find(const char* name) const
{
    for (const Text& text : texts_) {
        if (std::strcmp(text.name, name) == 0) {
            return std::make_unique<TextFeature>(text, category_);
        }
    }
    return nullptr;
}

ZvkError_t PacketSizeNegotiation::Start(ArvDevice* device, backend::Mutex& control)
{
    if (running_.load()) {
        return ZvkErrorBusy;
    }
    worker_.Wait();
    device_ = Share(device);
    control_ = &control;
    running_.store(true);
    if (!worker_.Start(&PacketSizeNegotiation::Run, this)) {
        running_.store(false);
        device_.reset();
        return ZvkErrorResources;
    }
    return ZvkErrorSuccess;
}

void PacketSizeNegotiation::Run(void* context)
{
    auto* self = static_cast<PacketSizeNegotiation*>(context);
    {
        backend::Lock lock(*self->control_);
        Outcome ignored; // the size stays as it was; whoever wants to know reads it
        arv_gv_device_auto_packet_size(ARV_GV_DEVICE(self->device_.get()), ignored.Slot());
        self->device_.reset();
    }
    self->running_.store(false);
}

StreamModule::StreamModule(ArvDevice* device, const char* streamId, PacketSizeNegotiation& negotiation,
                           backend::Mutex& control)
    : device_(device),
      information_("/StreamInformation",
                   {{"StreamID", "Name of the stream.", streamId},
                    {"StreamType", "What carries the stream.", ARV_IS_GV_DEVICE(device) ? "GEV" : "U3V"}}),
      negotiation_(negotiation), control_(control)
{
}

std::vector<std::unique_ptr<Feature>> StreamModule::GigEFeatures() const
{
    std::vector<std::unique_ptr<Feature>> features;
    if (ARV_IS_GV_DEVICE(device_)) {
        features.push_back(std::make_unique<PacketSizeFeature>(device_));
        features.push_back(std::make_unique<AdjustPacketSizeFeature>(device_, negotiation_, control_));
    }
    return features;
}

std::vector<ZvkFeatureInfo_t> StreamModule::List() const
{
    std::vector<ZvkFeatureInfo_t> list = information_.List();
    for (const auto& feature : GigEFeatures()) {
        list.push_back(feature->Info());
    }
    return list;
}

std::unique_ptr<Feature> StreamModule::Find(const char* name) const
{
    for (auto& feature : GigEFeatures()) {
        if (std::strcmp(feature->Info().name, name) == 0) {
            return std::move(feature);
        }
    }
    return information_.Find(name);
}

} // namespace maravel::aravis
