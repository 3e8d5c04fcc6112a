#include "CameraFeatures.h"

#include <algorithm>
#include <cmath>

// The device, its memory and what hangs on it. One function per SFNC category; long because a camera has many
// features, not because anything is intricate. Those of the image are in ImageFeatures.cpp.
namespace maravel::simulated {

void CameraFeatures::AddDeviceControl()
{
    build_.Category("DeviceControl");
    build_.FixedString("DeviceVendorName", description_.vendor, "Name of the device's vendor.");
    build_.FixedString("DeviceModelName", description_.model, "Model of the device.");
    build_.FixedString("DeviceFamilyName", "Simulated", "Family of the device.");
    build_.FixedString("DeviceManufacturerInfo", "A camera without a lens", "Words of the manufacturer.");
    build_.FixedString("DeviceVersion", "1.0", "Version of the device.");
    build_.FixedString("DeviceFirmwareVersion", "2.0.1", "Version of the device's firmware.");
    if (!description_.legacy) {
        build_.FixedInt("DeviceSFNCVersionMajor", 2, "Major version of the SFNC that the features follow.");
        build_.FixedInt("DeviceSFNCVersionMinor", 4, "Minor version of the SFNC that the features follow.");
        build_.FixedInt("DeviceSFNCVersionSubMinor", 0,
                        "Sub-minor version of the SFNC that the features follow.");
    }
    build_.FixedString(description_.legacy ? "DeviceID" : "DeviceSerialNumber", description_.serial,
                       "Serial number of the device.");
    build_.String("DeviceUserID", "", "Name that the user gives the device.");
    build_.FixedEnum("DeviceType", "Transmitter", {"Transmitter", "Receiver"}, "Kind of the device.");
    build_.FixedEnum("DeviceScanType", "Areascan", {"Areascan", "Linescan"}, "How the sensor scans.");
    build_.FixedEnum("DeviceTLType", description_.gigE ? "GigEVision" : "USB3Vision",
                     {"GigEVision", "USB3Vision"}, "Kind of the transport layer.");
    Feature& reset = build_.Command("DeviceReset", 400, "Puts the device into its power-up state.");
    reset.run = [&camera = camera_] {
        camera.StopAcquisition();
        camera.features_.Restore(camera.powerUp_);
        return ZvkErrorSuccess;
    };
    build_.Command("SensorCalibrate", 800,
                   "Measures the sensor's dark level. Takes the better part of a second.");
    build_.Command("DeviceRegistersStreamingStart", 0, "Prepares the device for registers in any order.");
    build_.Command("DeviceRegistersStreamingEnd", 0, "Ends what DeviceRegistersStreamingStart began.");
    Feature& selector = build_.Enum("DeviceTemperatureSelector", "Sensor", {"Sensor", "Mainboard"},
                                    "Place whose temperature DeviceTemperature tells.");
    selector.influences = {"DeviceTemperature"};
    Feature& temperature =
        build_.Float("DeviceTemperature", 0, {-40, 125}, "C", "Temperature of the device.");
    temperature.writable = false;
    temperature.selector = &selector;
    selector.hasSelected = true;
    temperature.floatNow = [&camera = camera_, &selector] {
        const double phase = static_cast<double>(camera.Ticks()) / 6e10;
        return (selector.Current().integer == 0 ? 41.0 : 36.0) + std::sin(phase);
    };
    build_.Enum("DeviceIndicatorMode", "Active", {"Inactive", "Active", "ErrorStatus"},
                "What the LED shows.");
    const std::int64_t speed = description_.gigE ? 125000000 : 400000000;
    build_.FixedInt("DeviceLinkSpeed", speed, "Speed of the link.").unit = "Bps";
    Feature& mode =
        build_.Enum("DeviceLinkThroughputLimitMode", "Off", {"Off", "On"}, "Limits the link's use.");
    Feature& limit =
        build_.Int("DeviceLinkThroughputLimit", speed, {1000000, speed}, 1000, "Bps", "The limit.");
    limit.writableNow = [&mode] { return mode.Current().integer != 0; };
    mode.influences = {"DeviceLinkThroughputLimit"};

    const char* latchName = description_.legacy ? "GevTimestampControlLatch" : "TimestampLatch";
    const char* valueName = description_.legacy ? "GevTimestampValue" : "TimestampLatchValue";
    const char* resetName = description_.legacy ? "GevTimestampControlReset" : "TimestampReset";
    Feature& latched = build_.FixedInt(valueName, 0, "Time stamp at the last latch, in ticks of the camera.");
    build_.Command(latchName, 0, "Takes the time stamp.").finished = [&camera = camera_, &latched] {
        latched.values[0].integer = static_cast<std::int64_t>(camera.Ticks());
    };
    build_.Command(resetName, 0, "Lets the time stamp count from 0 again.").finished = [&camera = camera_] {
        camera.ticksBase_ = Clock::now();
    };
}

void CameraFeatures::AddDigitalIo()
{
    build_.Category("DigitalIOControl");
    std::vector<EnumEntry> lines;
    for (std::uint32_t line = 0; line < description_.lines; ++line) {
        lines.push_back({std::string("Line") + std::to_string(line), line, {}});
    }
    Feature& selector =
        build_.Enum("LineSelector", "Line0", std::move(lines), "Line that the other features belong to.");
    FeatureBuilder::SelectedBy(build_.FixedEnum("LineMode", "Input", {"Input", "Output"}, "Use of the line."),
                               selector);
    FeatureBuilder::SelectedBy(build_.Bool("LineInverter", false, "Whether the line is inverted."), selector);
    FeatureBuilder::SelectedBy(
        build_.FixedEnum("LineFormat", "OptoCoupled", {"OptoCoupled", "TTL"}, "Its electronics."), selector);
    Feature& status = build_.Bool("LineStatus", false, "Level of the line.");
    status.writable = false;
    FeatureBuilder::SelectedBy(status, selector);
    build_.FixedInt("LineStatusAll", 0, "Levels of all lines, a bit each.");
    FeatureBuilder::SelectedBy(
        build_.Float("LineDebounceTime", 10.0, {0.0, 10000.0}, "us", "Shortest pulse that is seen."),
        selector);
    Feature& outputs = build_.Enum("UserOutputSelector", "UserOutput0", {"UserOutput0", "UserOutput1"},
                                   "Output that UserOutputValue belongs to.");
    FeatureBuilder::SelectedBy(build_.Bool("UserOutputValue", false, "Level of the selected output."),
                               outputs);
}

void CameraFeatures::AddCountersAndEvents()
{
    if (description_.legacy) {
        return;
    }
    build_.Category("CounterAndTimerControl");
    Feature& counter =
        build_.Enum("CounterSelector", "Counter0", {"Counter0"}, "Counter that the others belong to.");
    counter.hasSelected = true;
    build_.Enum("CounterEventSource", "FrameTrigger", {"Off", "FrameTrigger"},
                "What is counted: missed triggers.");
    Feature& base = build_.FixedInt("CounterValueAtReset", 0, "Value of the counter when it was reset.");
    Feature& value = build_.FixedInt("CounterValue", 0, "Triggers that came too early to start a frame.");
    value.intNow = [&camera = camera_, &base] {
        return static_cast<std::int64_t>(camera.statistics_.missedTriggers) - base.Current().integer;
    };
    build_.Command("CounterReset", 0, "Sets the counter to 0.").finished = [&camera = camera_, &base] {
        base.values[0].integer = static_cast<std::int64_t>(camera.statistics_.missedTriggers);
    };
    build_.Enum("TimerSelector", "Timer0", {"Timer0"}, "Timer that the others belong to.");
    build_.Float("TimerDuration", 100.0, {0.0, 1e7}, "us", "Length of the timer's pulse.");
    build_.Float("TimerDelay", 0.0, {0.0, 1e7}, "us", "Time before the timer's pulse.");
    build_.Category("EventControl");
    Feature& event = build_.Enum("EventSelector", "ExposureEnd", {"ExposureEnd", "FrameTrigger", "Error"},
                                 "Event that EventNotification belongs to.");
    FeatureBuilder::SelectedBy(
        build_.Enum("EventNotification", "Off", {"Off", "On"}, "Whether the event is sent."), event);
}

void CameraFeatures::AddUserSets()
{
    build_.Category("UserSetControl");
    Feature& selector = build_.Enum("UserSetSelector", "Default", {"Default", "UserSet1", "UserSet2"},
                                    "Set that is loaded and saved.");
    Feature& load = build_.Command("UserSetLoad", 30, "Takes the features' values from the selected set.");
    load.lockedByStreaming = true;
    load.run = [&camera = camera_, &selector] {
        const std::int64_t chosen = selector.Current().integer;
        const auto& saved =
            chosen == 0 ? camera.powerUp_ : camera.userSets_[static_cast<std::size_t>(chosen - 1)];
        camera.features_.Restore(saved.empty() ? camera.powerUp_ : saved);
        selector.values[0].integer = chosen;
        return ZvkErrorSuccess;
    };
    Feature& save = build_.Command("UserSetSave", 60, "Saves the features' values in the selected set.");
    save.writableNow = [&selector] { return selector.Current().integer != 0; };
    save.run = [&camera = camera_, &selector] {
        camera.userSets_[static_cast<std::size_t>(selector.Current().integer - 1)] = camera.features_.Save();
        return ZvkErrorSuccess;
    };
    selector.influences = {"UserSetSave"};
    build_.Enum(description_.legacy ? "UserSetDefaultSelector" : "UserSetDefault", "Default",
                {"Default", "UserSet1", "UserSet2"}, "Set that the camera starts with.");
}

void CameraFeatures::AddChunks()
{
    if (description_.legacy) {
        return;
    }
    build_.Category("ChunkDataControl");
    Feature& active = build_.Bool("ChunkModeActive", false, "Whether frames carry data about themselves.");
    active.lockedByStreaming = true;
    Feature& selector = build_.Enum("ChunkSelector", "FrameID", {"FrameID", "Timestamp", "Width", "Height"},
                                    "Datum that ChunkEnable belongs to.");
    Feature& enable = build_.Bool("ChunkEnable", true, "Whether frames carry the selected datum.");
    FeatureBuilder::SelectedBy(enable, selector);
    enable.writableNow = [&active] { return active.Current().integer != 0; };
    active.influences = {"ChunkEnable"};
}

void CameraFeatures::AddTransport()
{
    build_.Category("TransportLayerControl");
    Feature& payload = build_.FixedInt("PayloadSize", 0, "Bytes of a frame.");
    payload.intRange = {0, UINT32_MAX};
    payload.unit = "B";
    payload.intNow = [&camera = camera_] { return static_cast<std::int64_t>(camera.PayloadSize()); };
    if (!description_.gigE) {
        build_.FixedInt("U3vVersionMajor", 1, "Major version of the USB3 Vision standard.");
        build_.FixedInt("U3vVersionMinor", 2, "Minor version of the USB3 Vision standard.");
        return;
    }
    build_.FixedInt("GevVersionMajor", 2, "Major version of the GigE Vision standard.");
    build_.FixedInt("GevVersionMinor", 0, "Minor version of the GigE Vision standard.");
    build_.FixedInt("GevMACAddress", 0x020000000000 + camera_.Index(), "Address of the network adapter.");
    build_.FixedInt("GevCurrentIPAddress", 0xA9FE0001 + camera_.Index(), "Address of the camera.");
    build_.FixedInt("GevCurrentSubnetMask", 0xFFFF0000, "Mask of the camera's network.");
    build_.FixedInt("GevCurrentDefaultGateway", 0, "Gateway of the camera's network.");
    build_.Bool("GevPersistentIPAddressUse", false, "Whether the camera keeps its address.");
    build_.Int("GevHeartbeatTimeout", 3000, {500, 600000}, 1, "ms",
               "Silence after which the camera is free again.");
    build_.FixedInt("GevTimestampTickFrequency", 1000000000, "Ticks a second of the time stamp.").unit = "Hz";
    Feature& packet =
        build_.Int("GevSCPSPacketSize", 1500, {220, 16260}, 4, "B", "Bytes of a packet of the stream.");
    packet.lockedByStreaming = true;
    build_.Int("GevSCPD", 0, {0, 100000}, 1, "", "Ticks between two packets of the stream.");
}

void CameraFeatures::AddStream()
{
    FeatureBuilder build(camera_.StreamFeatures());
    build.Category("StreamInformation");
    build.FixedString("StreamID", description_.id + "-0", "Name of the stream.");
    build.FixedEnum("StreamType", description_.gigE ? "GigEVision" : "USB3Vision",
                    {"GigEVision", "USB3Vision"}, "Kind of the stream.");
    const auto counter = [&](const char* name, std::uint64_t SimStatistics::*field, const char* text) {
        build.FixedInt(name, 0, text).intNow = [&camera = camera_, field] {
            return static_cast<std::int64_t>(camera.statistics_.*field - camera.atCaptureStart_.*field);
        };
    };
    counter("StreamDeliveredFrameCount", &SimStatistics::complete, "Complete frames since capture start.");
    counter("StreamIncompleteFrameCount", &SimStatistics::incomplete,
            "Incomplete frames since capture start.");
    counter("StreamLostFrameCount", &SimStatistics::lost, "Frames that found no buffer since capture start.");
    build.FixedInt("StreamAnnouncedBufferCount", 0, "Announced frames.").intNow = [&camera = camera_] {
        return std::int64_t{camera.frames_.AnnouncedCount()};
    };
    build.FixedInt("StreamInputBufferCount", 0, "Queued frames.").intNow = [&camera = camera_] {
        return std::int64_t{camera.frames_.QueuedCount()};
    };
    build.Bool("StreamIsGrabbing", false, "Whether frames are captured.").intNow = [&camera = camera_] {
        return std::int64_t{camera.IsCapturing() ? 1 : 0};
    };
    camera_.StreamFeatures().At("StreamIsGrabbing").writable = false;
    build.Enum("StreamBufferHandlingMode", "OldestFirst", {"OldestFirst"},
               "Order in which frames are filled.");
    if (!description_.gigE) {
        return;
    }
    build.Category("GigEVision");
    Feature& size =
        build.Int("GVSPPacketSize", 1400, {220, 16260}, 4, "B", "Bytes of a packet of the stream.");
    build.Bool("GVSPPacketResend", true, "Whether lost packets are asked for again.");
    build.Int("GVSPTimeout", 70, {10, 10000}, 1, "ms", "Silence after which a frame is given up.");
    if (description_.packetSize == 0) {
        return;
    }
    build
        .Command("GVSPAdjustPacketSize", description_.packetNegotiationMs,
                 "Finds the largest packet that the network carries.")
        .finished = [&size, found = description_.packetSize] { size.values[0].integer = found; };
}

void CameraFeatures::AddSystemModules()
{
    FeatureBuilder transport(camera_.TransportFeatures());
    transport.FixedString("TLID", std::string("transport-") + std::to_string(camera_.Index()),
                          "Name of the transport layer.");
    transport.FixedString("TLVendorName", description_.transportVendor, "Vendor of the transport layer.");
    transport.FixedString("TLModelName", "Simulated Transport Layer", "Model of the transport layer.");
    transport.FixedString("TLVersion", "1.0.0", "Version of the transport layer.");
    transport.FixedEnum("TLType", description_.gigE ? "GigEVision" : "USB3Vision",
                        {"GigEVision", "USB3Vision"}, "Kind of the transport layer.");
    FeatureBuilder interfaceModule(camera_.InterfaceFeatures());
    interfaceModule.FixedString("InterfaceID", std::string("interface-") + std::to_string(camera_.Index()),
                                "Name of the interface.");
    interfaceModule.FixedEnum("InterfaceType", description_.gigE ? "GigEVision" : "USB3Vision",
                              {"GigEVision", "USB3Vision"}, "Kind of the interface.");
    interfaceModule.Command("DeviceUpdateList", 20, "Looks for devices.");
    FeatureBuilder local(camera_.LocalDeviceFeatures());
    local.FixedString("DeviceID", description_.id, "Name of the device.");
    local.FixedEnum("DeviceAccessStatus", "OpenReadWrite", {"ReadWrite", "OpenReadWrite", "NoAccess"},
                    "Its access.");
    local.FixedInt("StreamCount", description_.streams, "Streams of the device.");
}

void CameraFeatures::AddExtra(const ExtraFeature& extra)
{
    const char* name = extra.name.c_str();
    const char* text = extra.description.c_str();
    Feature* feature = nullptr;
    if (extra.type == "int") {
        const auto low = static_cast<std::int64_t>(extra.minimum);
        feature = &build_.Int(name, low, {low, static_cast<std::int64_t>(extra.maximum)}, extra.increment, "",
                              text);
    }
    else if (extra.type == "float") {
        feature = &build_.Float(name, extra.minimum, {extra.minimum, extra.maximum}, "", text);
    }
    else if (extra.type == "enum") {
        std::vector<EnumEntry> entries;
        for (const std::string& entry : extra.entries) {
            const auto& missing = extra.unavailableEntries;
            const bool available = std::find(missing.begin(), missing.end(), entry) == missing.end();
            entries.push_back(
                {entry, static_cast<std::int64_t>(entries.size()), [available] { return available; }});
        }
        feature = &build_.Enum(name, extra.entries.front().c_str(), std::move(entries), text);
    }
    else if (extra.type == "string") {
        feature = &build_.String(name, "", text);
        feature->maxLength = 1024;
    }
    else if (extra.type == "bool") {
        feature = &build_.Bool(name, false, text);
    }
    else if (extra.type == "command") {
        feature = &build_.Command(name, extra.durationMs, text);
    }
    else {
        feature = &build_.Raw(name, 16, text);
    }
    feature->readable = feature->readable && extra.readable;
    feature->writable = extra.writable;
}

bool CameraFeatures::Build(std::string* error)
{
    AddDeviceControl();
    AddImageFormat();
    AddAcquisition();
    AddExposure();
    AddTriggers();
    AddAnalog();
    AddLookUpTable();
    AddDigitalIo();
    AddCountersAndEvents();
    AddUserSets();
    AddChunks();
    AddTransport();
    AddStream();
    AddSystemModules();
    return AddWishes(error);
}

// What the description asks for beyond a camera of its kind.
bool CameraFeatures::AddWishes(std::string* error)
{
    const auto find = [this](const std::string& name) {
        FeatureSet& stream = camera_.StreamFeatures();
        return set_.Find(name.c_str()) != nullptr     ? &set_
               : stream.Find(name.c_str()) != nullptr ? &stream
                                                      : nullptr;
    };
    auto values = description_.values;
    build_.Category("Custom");
    for (const ExtraFeature& extra : description_.features) {
        if (find(extra.name) != nullptr) {
            *error = std::string("the feature '") + extra.name + "' exists already; expected a new name";
            return false;
        }
        AddExtra(extra);
        if (!extra.value.empty()) {
            values.emplace_back(extra.name, extra.value);
        }
    }
    for (const auto& [name, value] : values) {
        FeatureSet* set = find(name);
        if (set == nullptr) {
            *error = std::string("the camera has no feature '") + name +
                     "'; expected the name of one of its features";
            return false;
        }
        if (set->SetValueText(set->At(name.c_str()), value.c_str()) != ZvkErrorSuccess) {
            *error =
                "'" + value + "' is no value of the feature '" + name + "'; expected one within its limits";
            return false;
        }
    }
    for (const std::string& name : description_.removed) {
        FeatureSet* set = find(name);
        if (set == nullptr) {
            *error = std::string("there is no feature '") + name +
                     "' to remove; expected the name of one of the camera's features";
            return false;
        }
        set->Hide(name);
    }
    return true;
}

} // namespace maravel::simulated
