#include "CameraFeatures.h"

#include "PixelFormats.h"

#include <algorithm>

// What shapes an image and says when it is taken. One function per SFNC category.
namespace maravel::simulated {

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
    for (const PixelFormat* format : description_.pixelFormats) {
        formats.push_back({format->name, format->code, {}});
    }
    Feature& format = build_.Enum("PixelFormat", description_.pixelFormats.front()->name, std::move(formats),
                                  "Format of the pixels that the camera sends.");
    format.lockedByStreaming = true;
    format.influences = {"PayloadSize", "PixelSize", "PixelColorFilter", "PixelDynamicRangeMax"};
    const auto current = [&format] {
        return FindPixelFormat(static_cast<std::uint32_t>(format.Current().integer));
    };

    std::vector<EnumEntry> sizes;
    for (const std::int64_t bits : {8, 12, 16, 24}) {
        sizes.push_back({std::string("Bpp") + std::to_string(bits), bits, {}});
    }
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
    for (const char* name : {"AcquisitionStop", "AcquisitionAbort"}) {
        build_.Command(name, 0, "Stops acquisition.").run = [&camera = camera_] {
            camera.StopAcquisition();
            return ZvkErrorSuccess;
        };
    }
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
    if (description_.legacy) {
        return;
    }
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
        if (feature.Current().integer == 1) { // adjusted at once, and off again
            feature.Current().integer = 0;
        }
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
    for (std::uint32_t line = 0; line < description_.lines; ++line) {
        sources.push_back({std::string("Line") + std::to_string(line), 1 + line, {}});
    }
    if (description_.freerunSource) {
        sources.push_back({"Freerun", 100, {}});
    }
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
    for (Feature* feature : {&mode, &source, &edge, &delay}) {
        FeatureBuilder::SelectedBy(*feature, selector);
    }
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
                     [](const PixelFormat* format) { return format->IsColour(); })) {
        return;
    }
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
    for (std::size_t i = 0; i < 256; ++i) {
        all.values[0].text[i] = static_cast<char>(i);
    }
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

} // namespace maravel::simulated
