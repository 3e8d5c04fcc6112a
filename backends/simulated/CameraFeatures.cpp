#include "CameraFeatures.h"

#include "PixelFormats.h"

#include <algorithm>
#include <cmath>

// One function per SFNC category; long because a camera has many features, not because anything is intricate.
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

void CameraFeatures::AddImageRegion()
{
    const std::int64_t sensorWidth = description_.width;
    const std::int64_t sensorHeight = description_.height;
    const auto lock = [](Feature& feature) { feature.lockedByStreaming = true; };

    build_.FixedInt("SensorWidth", sensorWidth, "Width of the sensor in pixels.");
    build_.FixedInt("SensorHeight", sensorHeight, "Height of the sensor in pixels.");
    Feature& widthMax = build_.FixedInt("WidthMax", sensorWidth, "Greatest width of the image in pixels.");
    widthMax.intNow = [&camera = camera_] {
        return camera.SensorLimit("BinningHorizontal", camera.description_.width);
    };
    Feature& heightMax =
        build_.FixedInt("HeightMax", sensorHeight, "Greatest height of the image in pixels.");
    heightMax.intNow = [&camera = camera_] {
        return camera.SensorLimit("BinningVertical", camera.description_.height);
    };

    constexpr std::int64_t step = 8; // of the width; a multiple of what any pixel format asks for
    Feature& width = build_.Int("Width", sensorWidth / step * step, {step * 2, sensorWidth}, step, "",
                                "Width of the image in pixels.");
    Feature& height = build_.Int("Height", sensorHeight / 2 * 2, {2, sensorHeight}, 2, "",
                                 "Height of the image in pixels.");
    Feature& offsetX = build_.Int("OffsetX", 0, {0, 0}, 4, "", "Left edge of the image on the sensor.");
    Feature& offsetY = build_.Int("OffsetY", 0, {0, 0}, 2, "", "Top edge of the image on the sensor.");
    const auto room = [](std::int64_t limit, std::int64_t taken, std::int64_t minimum,
                         std::int64_t increment) {
        return Range<std::int64_t>{
            minimum, std::max(minimum, (limit - taken - minimum) / increment * increment + minimum)};
    };
    width.intRangeNow = [=, &widthMax, &offsetX] {
        return room(widthMax.Int(), offsetX.Int(), step * 2, step);
    };
    height.intRangeNow = [=, &heightMax, &offsetY] { return room(heightMax.Int(), offsetY.Int(), 2, 2); };
    offsetX.intRangeNow = [=, &widthMax, &width] { return room(widthMax.Int(), width.Int(), 0, 4); };
    offsetY.intRangeNow = [=, &heightMax, &height] { return room(heightMax.Int(), height.Int(), 0, 2); };
    width.influences = {"OffsetX", "PayloadSize"};
    height.influences = {"OffsetY", "PayloadSize"};
    offsetX.influences = {"Width"};
    offsetY.influences = {"Height"};

    // A region that no longer fits after binning becomes the whole sensor.
    const auto refit = [&offsetX, &offsetY, &width, &height, &widthMax, &heightMax] {
        if (offsetX.Int() + width.Int() > widthMax.Int()) {
            offsetX.values[0].integer = 0;
            width.values[0].integer = widthMax.Int() / step * step;
        }
        if (offsetY.Int() + height.Int() > heightMax.Int()) {
            offsetY.values[0].integer = 0;
            height.values[0].integer = heightMax.Int() / 2 * 2;
        }
    };
    for (const char* name : {"BinningHorizontal", "BinningVertical"}) {
        Feature& binning = build_.Int(name, 1, {1, 4}, 1, "", "Sensor pixels that are added up into one.");
        binning.validValues = {1, 2, 4};
        binning.influences = {"WidthMax", "HeightMax", "Width",      "Height",
                              "OffsetX",  "OffsetY",   "PayloadSize"};
        binning.written = refit;
        lock(binning);
    }
    lock(width);
    lock(height);
    lock(build_.Bool("ReverseX", false, "Mirrors the image left to right."));
    lock(build_.Bool("ReverseY", false, "Mirrors the image top to bottom."));
}

void CameraFeatures::AddImageFormat()
{
    build_.Category("ImageFormatControl");
    AddImageRegion();
    std::vector<EnumEntry> formats;
    for (const PixelFormat* format : description_.pixelFormats)
        formats.push_back({format->name, format->code, {}});
    Feature& format = build_.Enum("PixelFormat", description_.pixelFormats.front()->name, std::move(formats),
                                  "Format of the pixels that the camera sends.");
    format.lockedByStreaming = true;
    format.influences = {"PayloadSize", "PixelSize", "PixelColorFilter", "PixelDynamicRangeMax"};
    const auto current = [&format] {
        return FindPixelFormat(static_cast<std::uint32_t>(format.Current().integer));
    };

    std::vector<EnumEntry> sizes;
    for (const std::int64_t bits : {8, 12, 16, 24})
        sizes.push_back({std::string("Bpp") + std::to_string(bits), bits, {}});
    Feature& size = build_.Enum("PixelSize", "Bpp8", std::move(sizes), "Bits of a pixel.");
    size.writable = false;
    size.intNow = [current] { return static_cast<std::int64_t>(current()->BitsPerPixel()); };
    Feature& filter =
        build_.FixedEnum("PixelColorFilter", "None", {"None", "BayerRG", "BayerGR", "BayerGB", "BayerBG"},
                         "Colour filter of the pixels as they are sent.");
    filter.intNow = [current] {
        const PixelFormat* now = current();
        return now->layout == PixelLayout::Bayer ? std::int64_t{1} + now->bayerRed : std::int64_t{0};
    };
    build_.FixedInt("PixelDynamicRangeMin", 0, "Smallest value of a pixel.");
    Feature& greatest = build_.FixedInt("PixelDynamicRangeMax", 255, "Greatest value of a pixel.");
    greatest.intRange = {1, 65535};
    greatest.intNow = [current] { return (std::int64_t{1} << current()->sampleBits) - 1; };
}

void CameraFeatures::AddAcquisition()
{
    build_.Category("AcquisitionControl");
    Feature& mode = build_.Enum("AcquisitionMode", "Continuous", {"Continuous", "SingleFrame", "MultiFrame"},
                                "How many frames an acquisition has.");
    mode.lockedByStreaming = true;
    Feature& count =
        build_.Int("AcquisitionFrameCount", 1, {1, 65535}, 1, "", "Frames of the mode MultiFrame.");
    count.available = [&mode] { return mode.Current().integer == 2; };
    mode.influences = {"AcquisitionFrameCount"};
    build_.Command("AcquisitionStart", 0, "Starts acquisition.").run = [&camera = camera_] {
        return camera.StartAcquisition();
    };
    for (const char* name : {"AcquisitionStop", "AcquisitionAbort"})
        build_.Command(name, 0, "Stops acquisition.").run = [&camera = camera_] {
            camera.StopAcquisition();
            return ZvkErrorSuccess;
        };
    Feature& statusSelector = build_.Enum("AcquisitionStatusSelector", "FrameTriggerWait",
                                          {"FrameTriggerWait", "AcquisitionTriggerWait", "AcquisitionActive"},
                                          "What AcquisitionStatus tells.");
    Feature& status = build_.Bool("AcquisitionStatus", false, "Whether the camera is in the selected state.");
    status.writable = false;
    status.selector = &statusSelector;
    statusSelector.hasSelected = true;
    status.intNow = [&camera = camera_, &statusSelector]() -> std::int64_t {
        switch (statusSelector.Current().integer) {
        case 0:
            return camera.acquiring_ && camera.started_ && camera.TriggerIsOn(Trigger::FrameStart) ? 1 : 0;
        case 1:
            return camera.acquiring_ && !camera.started_ ? 1 : 0;
        default:
            return camera.acquiring_ && camera.started_ ? 1 : 0;
        }
    };
    const char* rateName = description_.legacy ? "AcquisitionFrameRateAbs" : "AcquisitionFrameRate";
    const double rate = description_.frameRate;
    Feature& frameRate = build_.Float(rateName, rate, {0.01, rate}, "Hz", "Frames a second.");
    if (description_.legacy)
        return;
    Feature& enable = build_.Bool("AcquisitionFrameRateEnable", true, "Whether AcquisitionFrameRate counts.");
    frameRate.writableNow = [&enable] { return enable.Current().integer != 0; };
    enable.influences = {rateName};
    build_.FixedEnum("SensorShutterMode", "Global", {"Global", "Rolling"}, "Shutter of the sensor.");
    build_.Float("ReadoutTime", 1e6 / rate, {0, 1e7}, "us", "Time that the sensor takes to be read.")
        .writable = false;
}

void CameraFeatures::AddAuto(const char* name, const char* description)
{
    Feature& feature = build_.Enum(name, "Off", {"Off", "Once", "Continuous"}, description);
    feature.written = [&feature] {
        if (feature.Current().integer == 1) // adjusted at once, and off again
            feature.Current().integer = 0;
    };
}

void CameraFeatures::AddExposure()
{
    build_.Category("AcquisitionControl");
    const char* timeName = description_.legacy ? "ExposureTimeAbs" : "ExposureTime";
    Feature& time = build_.Float(timeName, description_.exposureUs, {10.0, 1e7}, "us", "Exposure time.");
    if (description_.legacy) {
        build_.Enum("ExposureMode", "Timed", {"Off", "Timed", "TriggerWidth"},
                    "Off: frames are started by software. Timed: by the input line, with ExposureTimeAbs.");
        return;
    }
    build_.Enum("ExposureMode", "Timed", {"Timed", "TriggerWidth"}, "What ends the exposure.");
    AddAuto("ExposureAuto", "Automatic exposure.");
    Feature& automatic = set_.At("ExposureAuto");
    automatic.influences = {timeName};
    time.writableNow = [&automatic] { return automatic.Current().integer == 0; };
    Feature& target = build_.Int("ExposureAutoTarget", 50, {0, 100}, 1, "%", "Mean brightness to reach.");
    target.available = [&automatic] { return automatic.Current().integer != 0; };
    build_.Float("ExposureAutoMax", 100000.0, {10.0, 1e7}, "us", "Longest automatic exposure.");
}

void CameraFeatures::AddTriggers()
{
    build_.Category("AcquisitionControl");
    if (description_.legacy) {
        Feature& mode =
            build_.Enum("TriggerMode", "Off", {"Off", "On"}, "Whether frames wait for a trigger.");
        build_.Command("TriggerSoftware", 0, "Triggers one frame.").run = [&camera = camera_] {
            return camera.RunSoftwareTrigger();
        };
        mode.written = [&camera = camera_] { camera.wake_.WakeAll(); };
        return;
    }
    std::vector<EnumEntry> sources = {{"Software", 0, {}}};
    for (std::uint32_t line = 0; line < description_.lines; ++line)
        sources.push_back({std::string("Line") + std::to_string(line), 1 + line, {}});
    if (description_.freerunSource)
        sources.push_back({"Freerun", 100, {}});
    Feature& selector = build_.Enum("TriggerSelector", "FrameStart", {"FrameStart", "AcquisitionStart"},
                                    "Trigger that the other trigger features belong to.");
    Feature& mode =
        build_.Enum("TriggerMode", "Off", {"Off", "On"}, "Whether the selected trigger is waited for.");
    Feature& software = build_.Command("TriggerSoftware", 0, "Fires the selected trigger.");
    Feature& source =
        build_.Enum("TriggerSource", "Software", std::move(sources), "What fires the selected trigger.");
    Feature& edge = build_.Enum("TriggerActivation", "RisingEdge", {"RisingEdge", "FallingEdge", "AnyEdge"},
                                "Edge of the line that fires the selected trigger.");
    Feature& delay =
        build_.Float("TriggerDelay", 0.0, {0.0, 1e6}, "us", "Time from the trigger to its effect.");
    build_.Enum("TriggerOverlap", "Off", {"Off", "ReadOut"},
                "Whether a trigger may come while a frame is read out.");
    for (Feature* feature : {&mode, &source, &edge, &delay})
        FeatureBuilder::SelectedBy(*feature, selector);
    software.selector = &selector;
    software.writableNow = [&source] { return source.Current().integer == 0; };
    software.run = [&camera = camera_] { return camera.RunSoftwareTrigger(); };
    source.influences = {"TriggerSoftware"};
    mode.written = source.written = [&camera = camera_] { camera.wake_.WakeAll(); };
}

void CameraFeatures::AddAnalog()
{
    build_.Category("AnalogControl");
    if (description_.legacy) {
        build_.Int("GainRaw", 0, {0, 24}, 1, "dB", "Gain.");
        build_.Int("BlackLevelRaw", 4, {0, 255}, 1, "", "Black level.");
        return;
    }
    Feature& gainSelector =
        build_.Enum("GainSelector", "All", {"All", "DigitalAll"}, "Channel that Gain belongs to.");
    Feature& gain = build_.Float("Gain", 0.0, {0.0, 24.0}, "dB", "Gain.");
    FeatureBuilder::SelectedBy(gain, gainSelector);
    AddAuto("GainAuto", "Automatic gain.");
    Feature& automatic = set_.At("GainAuto");
    automatic.influences = {"Gain"};
    gain.writableNow = [&automatic] { return automatic.Current().integer == 0; };
    build_.Float("BlackLevel", 4.0, {0.0, 64.0}, "DN", "Black level.");
    Feature& enable = build_.Bool("GammaEnable", false, "Whether Gamma counts.");
    Feature& gamma = build_.Float("Gamma", 1.0, {0.25, 4.0}, "", "Exponent of the gamma correction.");
    gamma.writableNow = [&enable] { return enable.Current().integer != 0; };
    enable.influences = {"Gamma"};
    build_.Float("Sharpness", 0.0, {-12.0, 12.0}, "", "Strength of sharpening.");
    const auto& formats = description_.pixelFormats;
    if (std::none_of(formats.begin(), formats.end(),
                     [](const PixelFormat* format) { return format->IsColour(); }))
        return;
    Feature& ratioSelector = build_.Enum("BalanceRatioSelector", "Red", {"Red", "Green", "Blue"},
                                         "Channel that BalanceRatio belongs to.");
    Feature& ratio = build_.Float("BalanceRatio", 1.0, {0.25, 8.0}, "", "Gain of the selected channel.");
    FeatureBuilder::SelectedBy(ratio, ratioSelector);
    AddAuto("BalanceWhiteAuto", "Automatic white balance.");
    build_.Float("Saturation", 1.0, {0.0, 2.0}, "", "Strength of the colours.");
    build_.Float("Hue", 0.0, {-40.0, 40.0}, "deg", "Turn of the colours.");
}

void CameraFeatures::AddLookUpTable()
{
    build_.Category("LUTControl");
    build_.Enum("LUTSelector", "Luminance", {"Luminance"},
                "Look-up table that the other features belong to.");
    build_.Bool("LUTEnable", false, "Whether pixels go through the table.");
    Feature& index = build_.Int("LUTIndex", 0, {0, 255}, 1, "", "Entry of the table that LUTValue is.");
    Feature& all = build_.Raw("LUTValueAll", 256, "The table's entries, a byte each.");
    for (std::size_t i = 0; i < 256; ++i)
        all.values[0].text[i] = static_cast<char>(i);
    Feature& value = build_.Int("LUTValue", 0, {0, 255}, 1, "", "Value of the chosen entry.");
    value.intNow = [&index, &all] {
        return std::int64_t{
            static_cast<std::uint8_t>(all.Current().text[static_cast<std::size_t>(index.Int())])};
    };
    value.written = [&index, &all, &value] {
        all.Current().text[static_cast<std::size_t>(index.Int())] =
            static_cast<char>(value.Current().integer);
    };
    index.influences = {"LUTValue"};
    value.influences = {"LUTValueAll"};
}

void CameraFeatures::AddDigitalIo()
{
    build_.Category("DigitalIOControl");
    std::vector<EnumEntry> lines;
    for (std::uint32_t line = 0; line < description_.lines; ++line)
        lines.push_back({std::string("Line") + std::to_string(line), line, {}});
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
    if (description_.legacy)
        return;
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
    if (description_.legacy)
        return;
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
    if (!description_.gigE)
        return;
    build.Category("GigEVision");
    Feature& size =
        build.Int("GVSPPacketSize", 1400, {220, 16260}, 4, "B", "Bytes of a packet of the stream.");
    build.Bool("GVSPPacketResend", true, "Whether lost packets are asked for again.");
    build.Int("GVSPTimeout", 70, {10, 10000}, 1, "ms", "Silence after which a frame is given up.");
    if (description_.packetSize == 0)
        return;
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
        if (!extra.value.empty())
            values.emplace_back(extra.name, extra.value);
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
