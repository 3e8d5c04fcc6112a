// An adapter library of one camera, so that camhost's tests know every pixel and can make any call fail. It
// appends each acquisition call to "calls.txt" in the folder that ZORVIK_HOME names.
#include "maravel/VideoChannel.h"
#include "platform/Compiler.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t kWidth = 5, kHeight = 3;

struct Value
{
    std::int32_t type;
    std::string text;
};

// PixelType is what the images have; FailAtImage the number of the image whose GetImage fails, 0 none;
// NoImages keeps the camera silent; RefuseTrigger lets a start succeed with a text; SkipAtImage leaves out
// the two images before that one.
std::map<std::string, Value> g_features = {
    {"Width", {FeatureTypeInt, "5"}},
    {"PixelType", {FeatureTypeInt, "0"}},
    {"PayloadSize", {FeatureTypeInt, "64"}},
    {"FailAtImage", {FeatureTypeInt, "0"}},
    {"SkipAtImage", {FeatureTypeInt, "0"}},
    {"NoImages", {FeatureTypeBool, "False"}},
    {"Gain", {FeatureTypeFloat, "1.500000"}},
    {"Mode", {FeatureTypeEnum, "Fast"}},
    {"ExposureAuto", {FeatureTypeEnum, "Off"}},
    {"ExposureTime", {FeatureTypeFloat, "10000.000000"}},
    {"RefuseTrigger", {FeatureTypeBool, "False"}},
    {"Reset", {FeatureTypeCommand, ""}},
};

CommonParams g_params;
int g_ready = 0; // images that wait; a free-running camera always has one
int g_taken = 0;

void Log(const std::string& line)
{
    std::ofstream(std::string(std::getenv("ZORVIK_HOME")) + "/calls.txt", std::ios::app) << line << '\n';
}

std::int32_t Answer(char* text, const std::string& answer)
{
    std::snprintf(text, MARAVEL_TEXT_SIZE, "%s", answer.c_str());
    return MARAVEL_SUCCESS;
}

std::int32_t Fail(char* errorText, const std::string& text)
{
    Answer(errorText, text);
    return MARAVEL_FAILURE;
}

int Number(const char* feature)
{
    return std::atoi(g_features[feature].text.c_str());
}

std::int32_t MARAVEL_CALL SetupCommonParams(char* errorText, std::int64_t, const CommonParams* params)
{
    g_params = *params;
    if (g_features["ExposureAuto"].text == "Off") {
        g_features["ExposureTime"].text = std::to_string(params->exposure < 1 ? params->exposure * 1e6 : 1e6);
    }
    char line[200];
    std::snprintf(line, sizeof(line), "SetupCommonParams %g %d%d%d %d,%d,%d,%d", params->exposure,
                  params->acqContinuous, params->acqTriggered, params->acqTriggerLowToHigh, params->roix,
                  params->roiy, params->roiwidth, params->roiheight);
    Log(line);
    return params->roiwidth > 100 ? Fail(errorText, "SetupCommonParams: ERROR. Width refused.")
                                  : MARAVEL_SUCCESS;
}

std::int32_t MARAVEL_CALL QueryImageStatus(char*, std::int64_t, std::uint32_t* status)
{
    const bool waits = g_ready > 0 || g_params.acqContinuous != 0;
    *status = waits && g_features["NoImages"].text != "True" ? ImageStatusReady : ImageStatusPending;
    return MARAVEL_SUCCESS;
}

std::int32_t MARAVEL_CALL GetImageAttributes(char*, std::int64_t, ImageAttributes* attributes,
                                             std::uint32_t* status)
{
    QueryImageStatus(nullptr, 0, status);
    if (*status != ImageStatusReady) {
        return MARAVEL_SUCCESS;
    }
    attributes->width = kWidth;
    attributes->height = kHeight;
    attributes->pixelType = Number("PixelType");
    const int skip = Number("SkipAtImage");
    attributes->timestamp =
        1000u * static_cast<std::uint64_t>(g_taken + (skip != 0 && g_taken + 1 >= skip ? 2 : 0));
    return MARAVEL_SUCCESS;
}

// Sample i of an image is i x 100 + 1, as far as its depth goes; 8-bit ones count from 0.
std::vector<std::uint8_t> Pixels(std::int32_t pixelType)
{
    std::vector<std::uint8_t> bytes;
    const auto add = [&](unsigned byte) { bytes.push_back(static_cast<std::uint8_t>(byte)); };
    const unsigned planes = pixelType == PixelTypeRgbPlanes ? 3 : 1;
    for (unsigned i = 0; i < kWidth * kHeight * planes; ++i) {
        const unsigned sample = (i * 100 + 1) & (pixelType == PixelTypeMono10 ? 1023u : 65535u);
        if (pixelType == PixelTypeMono8 || planes == 3) {
            add(i);
        }
        else if (pixelType != PixelTypeMono12Packed) {
            add(sample & 255);
            add(sample >> 8);
        }
        else if (i % 2 == 0) {
            add(sample >> 4);
            add(sample & 15);
        }
        else {
            bytes.back() = static_cast<std::uint8_t>(bytes.back() | (sample & 15) << 4);
            add(sample >> 4);
        }
    }
    return bytes;
}

std::int32_t MARAVEL_CALL GetImage(char* errorText, std::int64_t, void* destination, std::uint32_t* status)
{
    if (++g_taken == Number("FailAtImage")) {
        return Fail(errorText, "GetImage: ERROR. The cable is out.");
    }
    const std::int32_t pixelType = Number("PixelType");
    auto pixels = Pixels(pixelType);
    if (pixelType != PixelTypeRgbPlanes) {
        pixels.resize(64, 0xEE); // all of the payload crosses
    }
    std::memcpy(destination, pixels.data(), pixels.size());
    g_ready = 0;
    *status = ImageStatusReady;
    return MARAVEL_SUCCESS;
}

std::int32_t MARAVEL_CALL StartAcquisition(char* errorText, std::int64_t)
{
    Log("StartAcquisition");
    g_ready = 1;
    return g_features["RefuseTrigger"].text == "True"
               ? Answer(errorText, "StartAcquisition: ERROR. TriggerSoftware failed.")
               : MARAVEL_SUCCESS;
}

std::int32_t MARAVEL_CALL StopAcquisition(char*, std::int64_t)
{
    Log("StopAcquisition");
    return MARAVEL_SUCCESS;
}

std::int32_t MARAVEL_CALL ReadValue(char* errorText, std::int64_t, const char* name, char* text)
{
    const auto found = g_features.find(name);
    if (found == g_features.end()) {
        return Fail(errorText,
                    "ReadValue: ERROR. Feature '" + std::string(name) + "' not found for channelID=0.");
    }
    return Answer(text, found->second.text);
}

std::int32_t MARAVEL_CALL WriteValue(char* errorText, std::int64_t, const char* name, const char* text)
{
    if (std::strcmp(name, "Mode") == 0 && std::strcmp(text, "Slow") != 0) {
        return Fail(errorText, "WriteValue: ERROR. ZvkFeatureEnumSet for feature 'Mode' failed.");
    }
    // Numbers are clamped, as cameras do.
    const int width = std::atoi(text);
    g_features[name].text = std::strcmp(name, "Width") == 0 && width < 4 ? "4" : text;
    return MARAVEL_SUCCESS;
}

std::int32_t MARAVEL_CALL ExecuteCommand(char* errorText, std::int64_t, const char* name)
{
    Log(std::string("ExecuteCommand ") + name);
    return std::strcmp(name, "Reset") == 0 ? MARAVEL_SUCCESS : Fail(errorText, "ExecuteCommand: ERROR.");
}

std::int32_t MARAVEL_CALL GetFeatureName(char*, std::int64_t, std::int32_t index, char* text)
{
    for (const auto& [name, value] : g_features) {
        if (index-- == 0) {
            return Answer(text, name);
        }
    }
    return MARAVEL_FAILURE;
}

std::int32_t MARAVEL_CALL GetFeatureType(char* errorText, std::int64_t, const char* name, std::int32_t* type)
{
    const auto found = g_features.find(name);
    if (found == g_features.end()) {
        return Fail(errorText,
                    "GetFeatureType: ERROR. channelID=0. Feature '" + std::string(name) + "' not found.");
    }
    *type = found->second.type;
    return MARAVEL_SUCCESS;
}

std::int32_t MARAVEL_CALL GetValidEnum(char*, std::int64_t, const char*, std::uint32_t index, char* text)
{
    return index < 2 ? Answer(text, index == 0 ? "Fast" : "Slow") : MARAVEL_FAILURE;
}

std::int32_t MARAVEL_CALL GetFeatureAttr(char*, std::int64_t, const char* name, std::uint32_t kind,
                                         char* text)
{
    if (kind == FeatureAttrDescription) {
        return Answer(text, "What it does.");
    }
    return Answer(text,
                  kind == FeatureAttrWritable && std::strcmp(name, "PayloadSize") == 0 ? "False" : "True");
}

std::int32_t MARAVEL_CALL ReleaseVideoChannel(char*, std::int64_t)
{
    return MARAVEL_SUCCESS;
}

} // namespace

extern "C" MARAVEL_EXPORT std::int32_t MARAVEL_CALL GetVideoChannel(char* errorText, std::int32_t index,
                                                                    VideoChannelDescriptor* d)
{
    const char* sdk = std::getenv("ZORVIK_HOME");
    if (sdk == nullptr || *sdk == '\0') {
        return Fail(errorText, "GetVideoChannel: ERROR while loading 'ZvkC.dll'.");
    }
    if (index >= (std::strstr(sdk, "twins") == nullptr ? 1 : 2)) {
        return MARAVEL_FAILURE;
    }
    d->channelID = index;
    d->SetupCommonParams = SetupCommonParams;
    d->GetImageAttributes = GetImageAttributes;
    d->QueryImageStatus = QueryImageStatus;
    d->GetImage = GetImage;
    d->StartAcquisition = StartAcquisition;
    d->StopAcquisition = StopAcquisition;
    d->ExecuteCommand = ExecuteCommand;
    d->ReadValue = ReadValue;
    d->WriteValue = WriteValue;
    std::snprintf(d->label, sizeof(d->label), "Zorvik/HVN TL: Fake");
    std::snprintf(d->serialNumber, sizeof(d->serialNumber), "F:1");
    d->exposureTime = 0.01;
    d->width = kWidth;
    d->height = kHeight;
    d->GetFeatureName = GetFeatureName;
    d->GetFeatureType = GetFeatureType;
    d->GetValidEnum = GetValidEnum;
    d->GetFeatureAttr = GetFeatureAttr;
    d->ReleaseVideoChannel = std::strstr(sdk, "incomplete") == nullptr ? ReleaseVideoChannel : nullptr;
    d->openResult = 0;
    return MARAVEL_SUCCESS;
}
