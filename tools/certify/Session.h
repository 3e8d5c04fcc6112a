// What the bodies of the checks stand on: the SDK, a camera and the adapter, brought to the stage that a
// check begins at, and the camera's settings, which are put back.
#pragma once

#include "Check.h"
#include "Sdk.h"
#include "host/AdapterLibrary.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace maravel::certify {

// What a run is asked for.
struct Settings
{
    std::filesystem::path sdk; // the SDK folder
    std::string adapter;       // the adapter's file, UTF-8
    std::string camera;        // identifier, serial number or index; empty: the first one
    std::filesystem::path
        program;                  // this program, for checks that need a second one; empty: those are skipped
    std::filesystem::path folder; // exists and is the run's own
    bool strict = false;          // exact result codes
    bool readOnly = false;
    int patience = 60;                   // seconds after which a check that does not return has failed
    double startSeconds = 5;             // a start that takes longer is worth a warning
    std::uint64_t loadMemory = 4u << 20; // bytes that loading the SDK 40 times may keep
    std::chrono::milliseconds framePatience{3000}; // the longest time between two frames, beside the exposure
    // Makes the adapter a wrong one: called with each descriptor that it fills. Null outside of tests.
    void (*alter)(VideoChannelDescriptor& descriptor) = nullptr;
};

struct Feature
{
    std::string name;
    std::uint32_t type = 0; // ZvkFeatureData...
    bool readable = false;
    bool writable = false;
};

// What the SDK says by itself, to be compared with what it says through the adapter.
struct SdkView
{
    std::vector<std::string> serials; // of all cameras
    std::string model;
    std::vector<Feature> features;
    std::map<std::string, std::string> values;               // as Session::Value, but those that opening sets
    std::map<std::string, std::vector<std::string>> entries; // the available ones
};

class Session
{
public:
    explicit Session(const Settings& settings) : settings_(settings) {}
    ~Session() { Leave(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Settings& Asked() const { return settings_; }
    // The longest time between two frames that is still no fault, at an exposure time in seconds.
    std::chrono::milliseconds FramePatience(double exposure) const;

    // Brings the session to the stage, from wherever it stands. Throws Skip when the stage cannot be reached;
    // that it cannot is the failure of a check of its own.
    void Reach(Stage stage);
    // Stops, closes and unloads everything.
    void Leave();
    // Writes back what the camera was set to before the first check of the run, in whatever process that was.
    // Returns what could not be put back, a line each. Needs no stage; throws as Reach does.
    std::vector<std::string> PutBack();
    // Has an opened camera run freely, as at its opening; for checks that follow a PutBack.
    void SetFreeRun();

    // From Stage::Loaded to Stage::Opened.
    const certify::Sdk& Sdk() const { return *sdk_; }

    // At Stage::Started and Stage::Opened.
    std::vector<ZvkCameraInfo_t> Cameras() const;
    std::size_t CameraIndex() const { return cameraIndex_; } // in Cameras()
    const std::string& CameraId() const { return cameraId_; }

    // At Stage::Opened.
    ZvkHandle_t Camera() const { return camera_; }
    ZvkHandle_t Stream() const { return stream_; } // null: it has none
    ZvkHandle_t TransportLayer() const { return transportLayer_; }
    // After a body has closed the camera, or opened it again.
    void SetCamera(ZvkHandle_t camera);
    // After a body has stopped the SDK.
    void Forget();
    const std::vector<Feature>& Features() const { return features_; }
    const Feature* Find(const std::string& name) const;
    // Names of the camera's features of a type; at least `access`: "r", "w" or "rw", "" for any.
    std::vector<std::string> FeaturesOf(std::uint32_t type, const char* access = "") const;
    std::vector<std::string> EntriesOf(const std::string& enumeration, bool availableOnly = true) const;
    // A value as text, whatever its type; nothing when it is not there or cannot be read.
    std::optional<std::string> Value(const std::string& name) const;
    // Empty after success, else why not.
    std::string SetValue(const std::string& name, const std::string& value) const;
    std::optional<std::int64_t> Integer(const std::string& name) const;

    // At Stage::Adapter.
    const SdkView& Seen() const { return *seen_; }
    const std::vector<host::Channel>& Channels() const { return channels_; }
    const host::Channel& Channel() const { return channels_.at(cameraIndex_); } // of the camera
    // GetVideoChannel. Index 0 starts the adapter anew; the channels that are there stay usable.
    host::Outcome HandOut(std::size_t index, VideoChannelDescriptor* descriptor) const;

    // The outcome is a warning unless the body fails.
    void Warn(const std::string& text) { warnings_.push_back(text); }
    // Something measured that the report shows.
    void Tell(const std::string& text) { told_.push_back(text); }
    std::vector<std::string> TakeWarnings() { return std::exchange(warnings_, {}); }
    std::vector<std::string> TakeTold() { return std::exchange(told_, {}); }

private:
    void Load();
    void Start();
    void Open();
    void LoadAdapter();
    void ReadView();
    void ReadFeatures();
    void RememberSettings();
    void Remember(const std::string& name, const std::string& key);
    bool PutBackOne(const std::string& key, const std::string& value, std::vector<std::string>& left) const;

    const Settings settings_;
    Stage stage_ = Stage::Folder;
    std::unique_ptr<certify::Sdk> sdk_;
    std::size_t cameraIndex_ = 0;
    std::string cameraId_;
    ZvkHandle_t camera_ = nullptr;
    ZvkHandle_t stream_ = nullptr;
    ZvkHandle_t transportLayer_ = nullptr;
    std::vector<Feature> features_;
    std::optional<SdkView> seen_;
    std::unique_ptr<host::AdapterLibrary> adapter_;
    std::vector<host::Channel> channels_;
    // Keys and values, in the camera's order. A key is a feature's name, or "name[entry]" for what stands
    // behind an entry of TriggerSelector.
    std::vector<std::pair<std::string, std::string>> before_;
    std::vector<std::string> warnings_, told_;
};

} // namespace maravel::certify
