#include "Session.h"

#include "camhost/System.h"
#include "host/Utf8Path.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <thread>

namespace maravel::certify {
namespace {

// What is written to a camera and not read back: settings that other settings follow.
constexpr int kRoundsOfPuttingBack = 3;

// What an opened camera is set to.
constexpr std::pair<const char*, const char*> kFreeRun[] = {{"TriggerMode", "Off"},
                                                            {"AcquisitionMode", "Continuous"}};

constexpr const char* kTriggerSelector = "TriggerSelector";
constexpr const char* kTriggerFeatures[] = {"TriggerMode", "TriggerSource", "TriggerActivation"};

constexpr const char* kSettingsFile = "settings-before";

std::string TextOfNumber(double value)
{
    char text[40];
    const auto end = std::to_chars(text, text + sizeof(text), value);
    return {text, end.ptr};
}

} // namespace

void Session::Reach(Stage stage)
{
    if (stage_ == stage) {
        return;
    }
    if (stage_ > stage) {
        Leave();
    }
    try {
        if (stage == Stage::Adapter) {
            return LoadAdapter();
        }
        if (stage_ < Stage::Loaded && stage >= Stage::Loaded) {
            Load();
        }
        if (stage_ < Stage::Started && stage >= Stage::Started) {
            Start();
        }
        if (stage_ < Stage::Opened && stage >= Stage::Opened) {
            Open();
        }
    }
    catch (const Failed& failed) {
        Leave();
        throw Skip{failed.text};
    }
}

std::chrono::milliseconds Session::FramePatience(double exposure) const
{
    constexpr double kLongest = 60; // of a camera that is set to more, less is awaited
    const double seconds = 4 * std::clamp(exposure, 0.0, kLongest);
    return settings_.framePatience + std::chrono::milliseconds(static_cast<int>(1000 * seconds));
}

void Session::Leave()
{
    channels_.clear();
    adapter_.reset();
    features_.clear();
    if (camera_ != nullptr) {
        sdk_->ZvkCameraClose(camera_);
    }
    camera_ = stream_ = transportLayer_ = nullptr;
    if (stage_ == Stage::Started || stage_ == Stage::Opened) {
        sdk_->ZvkShutdown();
    }
    sdk_.reset();
    stage_ = Stage::Folder;
}

void Session::Load()
{
    sdk_ = std::make_unique<certify::Sdk>(settings_.sdk);
    stage_ = Stage::Loaded;
}

void Session::Start()
{
    CERTIFY_OK(sdk_->ZvkStartup(nullptr));
    stage_ = Stage::Started;
    const auto cameras = Cameras();
    const std::string& wanted = settings_.camera;
    for (cameraIndex_ = 0; cameraIndex_ < cameras.size(); ++cameraIndex_) {
        const ZvkCameraInfo_t& info = cameras[cameraIndex_];
        if (info.cameraIdString == nullptr) {
            continue;
        }
        if (wanted.empty() || wanted == info.cameraIdString || wanted == std::to_string(cameraIndex_) ||
            (info.serialString != nullptr && wanted == info.serialString)) {
            cameraId_ = info.cameraIdString;
            return;
        }
    }
    cameraIndex_ = 0;
    cameraId_.clear();
}

void Session::Open()
{
    if (cameraId_.empty()) {
        throw Skip{settings_.camera.empty() ? "the SDK finds no camera"
                                            : "the SDK finds no camera '" + settings_.camera + "'"};
    }
    ZvkHandle_t camera = nullptr;
    CERTIFY_OK(sdk_->ZvkCameraOpen(cameraId_.c_str(), ZvkAccessModeFull, &camera));
    stage_ = Stage::Opened;
    SetCamera(camera);
    RememberSettings();
    SetFreeRun();
}

void Session::SetFreeRun()
{
    if (stage_ != Stage::Opened || settings_.readOnly) {
        return;
    }
    for (const auto& [name, value] : kFreeRun) {
        SetValue(name, value);
    }
    ReadFeatures(); // what can be read and written follows
}

void Session::SetCamera(ZvkHandle_t camera)
{
    camera_ = camera;
    stream_ = transportLayer_ = nullptr;
    features_.clear();
    if (camera == nullptr) {
        return;
    }
    ZvkCameraInfo_t info{};
    CERTIFY_OK(sdk_->ZvkCameraInfoQueryByHandle(camera, &info, sizeof(info)));
    stream_ = info.streamCount > 0 && info.streamHandles != nullptr ? info.streamHandles[0] : nullptr;
    transportLayer_ = info.transportLayerHandle;
    ReadFeatures();
}

void Session::Forget()
{
    SetCamera(nullptr);
    stage_ = Stage::Loaded;
}

void Session::LoadAdapter()
{
    if (!seen_) {
        Reach(Stage::Opened); // which remembers the settings too
        ReadView();
    }
    Leave();
    camhost::SetVariable("ZORVIK_HOME", host::TextOf(settings_.sdk));
    std::string reason;
    adapter_ = host::AdapterLibrary::Load(settings_.adapter, &reason);
    if (adapter_ == nullptr) {
        throw Failed{reason};
    }
    stage_ = Stage::Adapter;
    for (;;) {
        VideoChannelDescriptor descriptor{};
        descriptor.structSize = sizeof(descriptor);
        const host::Outcome outcome = HandOut(channels_.size(), &descriptor);
        if (!outcome && !outcome.text.empty()) {
            throw Failed{"the adapter does not start: " + outcome.text};
        }
        if (!outcome) {
            break;
        }
        channels_.emplace_back(descriptor);
        if (channels_.size() == cameraIndex_ + 1 && descriptor.openResult != 0) {
            throw Failed{"the adapter cannot open the camera: " + outcome.text};
        }
    }
    if (channels_.size() <= cameraIndex_) {
        throw Failed{"the adapter has " + std::to_string(channels_.size()) +
                     " channels, the camera is number " + std::to_string(cameraIndex_ + 1)};
    }
}

void Session::ReadView()
{
    SdkView view;
    for (const ZvkCameraInfo_t& info : Cameras()) {
        view.serials.emplace_back(info.serialString == nullptr ? "" : info.serialString);
    }
    const char* model = Cameras().at(cameraIndex_).modelName;
    view.model = model == nullptr ? "" : model;
    view.features = features_;
    for (const Feature& feature : features_) {
        if (!feature.readable) {
            continue;
        }
        if (const auto value = Value(feature.name)) {
            view.values.emplace(feature.name, *value);
        }
        if (feature.type == ZvkFeatureDataEnum) {
            view.entries.emplace(feature.name, EntriesOf(feature.name));
        }
    }
    for (const auto& [name, value] : kFreeRun) {
        view.values.erase(name);
    }
    seen_ = std::move(view);
}

host::Outcome Session::HandOut(std::size_t index, VideoChannelDescriptor* descriptor) const
{
    const host::Outcome outcome = adapter_->GetVideoChannel(static_cast<std::int32_t>(index), descriptor);
    if (outcome && settings_.alter != nullptr) {
        settings_.alter(*descriptor);
    }
    return outcome;
}

std::vector<ZvkCameraInfo_t> Session::Cameras() const
{
    std::uint32_t count = 0;
    CERTIFY_OK(sdk_->ZvkCamerasList(nullptr, 0, &count, sizeof(ZvkCameraInfo_t)));
    std::vector<ZvkCameraInfo_t> cameras(count);
    if (count > 0) {
        CERTIFY_OK(sdk_->ZvkCamerasList(cameras.data(), count, &count, sizeof(ZvkCameraInfo_t)));
    }
    cameras.resize(std::min<std::size_t>(count, cameras.size()));
    return cameras;
}

void Session::ReadFeatures()
{
    std::uint32_t count = 0;
    CERTIFY_OK(sdk_->ZvkFeaturesList(camera_, nullptr, 0, &count, sizeof(ZvkFeatureInfo_t)));
    std::vector<ZvkFeatureInfo_t> list(count);
    CERTIFY_OK(sdk_->ZvkFeaturesList(camera_, list.data(), count, &count, sizeof(ZvkFeatureInfo_t)));
    list.resize(std::min<std::size_t>(count, list.size()));
    features_.clear();
    for (const ZvkFeatureInfo_t& info : list) {
        if (info.name == nullptr) {
            continue;
        }
        ZvkBool_t readable = 0;
        ZvkBool_t writable = 0;
        sdk_->ZvkFeatureAccessQuery(camera_, info.name, &readable, &writable);
        features_.push_back({info.name, info.featureDataType, readable != 0, writable != 0});
    }
}

const Feature* Session::Find(const std::string& name) const
{
    const auto found = std::ranges::find(features_, name, &Feature::name);
    return found == features_.end() ? nullptr : &*found;
}

std::vector<std::string> Session::FeaturesOf(std::uint32_t type, const char* access) const
{
    const std::string wanted(access);
    std::vector<std::string> names;
    for (const Feature& feature : features_) {
        if (feature.type == type && (wanted.find('r') == std::string::npos || feature.readable) &&
            (wanted.find('w') == std::string::npos || feature.writable)) {
            names.push_back(feature.name);
        }
    }
    return names;
}

std::vector<std::string> Session::EntriesOf(const std::string& enumeration, bool availableOnly) const
{
    std::uint32_t count = 0;
    CERTIFY_OK(sdk_->ZvkFeatureEnumRangeQuery(camera_, enumeration.c_str(), nullptr, 0, &count));
    std::vector<const char*> texts(count);
    CERTIFY_OK(sdk_->ZvkFeatureEnumRangeQuery(camera_, enumeration.c_str(), texts.data(), count, &count));
    texts.resize(std::min<std::size_t>(count, texts.size()));
    std::erase(texts, nullptr);
    std::vector<std::string> entries;
    for (const char* text : texts) {
        ZvkBool_t available = 0;
        if (!availableOnly ||
            (sdk_->ZvkFeatureEnumIsAvailable(camera_, enumeration.c_str(), text, &available) == 0 &&
             available != 0)) {
            entries.emplace_back(text);
        }
    }
    return entries;
}

std::optional<std::int64_t> Session::Integer(const std::string& name) const
{
    std::int64_t value = 0;
    if (sdk_->ZvkFeatureIntGet(camera_, name.c_str(), &value) != 0) {
        return {};
    }
    return value;
}

std::optional<std::string> Session::Value(const std::string& name) const
{
    const Feature* feature = Find(name);
    if (feature == nullptr) {
        return {};
    }
    switch (feature->type) {
    case ZvkFeatureDataInt:
        if (const auto value = Integer(name)) {
            return std::to_string(*value);
        }
        return {};
    case ZvkFeatureDataFloat: {
        double value = 0;
        if (sdk_->ZvkFeatureFloatGet(camera_, name.c_str(), &value) == 0) {
            return TextOfNumber(value);
        }
        return {};
    }
    case ZvkFeatureDataEnum: {
        const char* value = nullptr;
        if (sdk_->ZvkFeatureEnumGet(camera_, name.c_str(), &value) == 0 && value != nullptr) {
            return value;
        }
        return {};
    }
    case ZvkFeatureDataBool: {
        ZvkBool_t value = 0;
        if (sdk_->ZvkFeatureBoolGet(camera_, name.c_str(), &value) == 0) {
            return value != 0 ? "1" : "0";
        }
        return {};
    }
    case ZvkFeatureDataString: {
        std::vector<char> buffer(65536);
        std::uint32_t size = 0;
        if (sdk_->ZvkFeatureStringGet(camera_, name.c_str(), buffer.data(),
                                      static_cast<std::uint32_t>(buffer.size()), &size) == 0) {
            return buffer.data();
        }
        return {};
    }
    default:
        return {};
    }
}

std::string Session::SetValue(const std::string& name, const std::string& value) const
{
    const Feature* feature = Find(name);
    if (feature == nullptr) {
        return "there is none";
    }
    ZvkError_t result = ZvkErrorWrongType;
    switch (feature->type) {
    case ZvkFeatureDataInt:
        result = sdk_->ZvkFeatureIntSet(camera_, name.c_str(), std::strtoll(value.c_str(), nullptr, 10));
        break;
    case ZvkFeatureDataFloat: {
        double number = 0;
        std::from_chars(value.data(), value.data() + value.size(), number);
        result = sdk_->ZvkFeatureFloatSet(camera_, name.c_str(), number);
        break;
    }
    case ZvkFeatureDataEnum:
        result = sdk_->ZvkFeatureEnumSet(camera_, name.c_str(), value.c_str());
        break;
    case ZvkFeatureDataBool:
        result = sdk_->ZvkFeatureBoolSet(camera_, name.c_str(), value == "1" ? 1 : 0);
        break;
    case ZvkFeatureDataString:
        result = sdk_->ZvkFeatureStringSet(camera_, name.c_str(), value.c_str());
        break;
    default:
        break;
    }
    return result == 0 ? "" : NameOf(result);
}

// The file holds NAME=VALUE lines, so that the settings outlive a crash of this process.
void Session::RememberSettings()
{
    const auto path = settings_.folder / kSettingsFile;
    if (!before_.empty() || settings_.readOnly) {
        return;
    }
    if (std::ifstream file(path); file) {
        for (std::string line; std::getline(file, line);) {
            if (const auto equals = line.find('='); equals != std::string::npos) {
                before_.emplace_back(line.substr(0, equals), line.substr(equals + 1));
            }
        }
        PutBack();
        return;
    }
    for (const Feature& feature : features_) {
        if (feature.readable && feature.writable) {
            Remember(feature.name, feature.name);
        }
    }
    // The adapter's set-up writes to the entries that are not selected, too.
    if (const auto selected = Value(kTriggerSelector)) {
        for (const std::string& entry : EntriesOf(kTriggerSelector)) {
            SetValue(kTriggerSelector, entry);
            for (const char* name : kTriggerFeatures) {
                Remember(name, name + ("[" + entry + "]"));
            }
        }
        SetValue(kTriggerSelector, *selected);
    }
    std::ofstream file(path); // only now: half of the settings must not pass for all
    for (const auto& [name, value] : before_) {
        file << name << '=' << value << '\n';
    }
}

void Session::Remember(const std::string& name, const std::string& key)
{
    if (const auto value = Value(name); value && value->find_first_of("\r\n") == std::string::npos) {
        before_.emplace_back(key, *value);
    }
}

// Whether the camera had another value.
bool Session::PutBackOne(const std::string& key, const std::string& value,
                         std::vector<std::string>& left) const
{
    const std::size_t bracket = key.find('[');
    const std::string name = key.substr(0, bracket);
    if (bracket != std::string::npos) {
        SetValue(kTriggerSelector, key.substr(bracket + 1, key.size() - bracket - 2));
    }
    if (Value(name) == value) {
        return false;
    }
    const std::string why = SetValue(name, value);
    if (Value(name) != value) {
        left.push_back(key + " = " + value + (why.empty() ? "" : ": " + why));
    }
    return true;
}

std::vector<std::string> Session::PutBack()
{
    if (before_.empty() && !std::filesystem::exists(settings_.folder / kSettingsFile)) {
        return {};
    }
    if (stage_ != Stage::Opened) {
        Reach(Stage::Opened);
    }
    std::vector<std::string> left;
    // What is behind the entries of a selector, then the selectors, then what they select.
    const auto rank = [](const auto& setting) {
        const std::string& key = setting.first;
        return key.ends_with(']') ? 0 : key.ends_with("Selector") ? 1 : 2;
    };
    std::vector<std::pair<std::string, std::string>> settings(before_.rbegin(), before_.rend());
    std::ranges::stable_sort(settings, {}, rank);
    bool changed = true;
    for (int round = 0; changed && round < kRoundsOfPuttingBack; ++round) {
        left.clear();
        changed = false;
        for (const auto& setting : settings) {
            const bool differed = PutBackOne(setting.first, setting.second, left);
            changed |= differed && rank(setting) != 1; // the first kind moves its selector each time
        }
    }
    return left;
}

} // namespace maravel::certify
