// Entry points for features.
#include "AravisRuntime.h"
#include "Library.h"
#include "backends/common/Outputs.h"

#include <cstring>
#include <type_traits>

namespace maravel::aravis {

using backend::CopyOut;
using backend::FillList;
using backend::HandleKind;
using backend::Lock;

namespace {

// The features behind a handle; null when its camera was closed meanwhile.
const Module* FeaturesOf(const Session::Named& named) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    switch (named.kind) {
    case HandleKind::TransportLayer:
        return &named.camera->TransportFeatures();
    case HandleKind::Interface:
        return &named.camera->InterfaceFeatures();
    case HandleKind::LocalDevice:
        return &named.camera->DeviceFeatures();
    case HandleKind::Camera:
        return named.camera->Features();
    case HandleKind::Stream:
        return named.camera->StreamFeatures();
    default:
        return nullptr;
    }
}

// The way of every entry point that concerns a module: finds it and runs body(module) with control of its
// camera.
template <typename Body>
ZvkError_t WithModule(ZvkHandle_t handle, bool outputsGiven, Body body)
{
    const Session session;
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    const Session::Named named = session.Find(handle);
    if (named.camera == nullptr) {
        return ZvkErrorBadHandle;
    }
    if (!outputsGiven) {
        return ZvkErrorBadParameter;
    }
    Lock lock(named.camera->control);
    const Module* module = FeaturesOf(named);
    return module == nullptr ? ZvkErrorBadHandle : body(named, *module);
}

// The same for one feature: body(feature) or body(feature, camera).
template <typename Body>
ZvkError_t WithFeature(ZvkHandle_t handle, const char* name, bool outputsGiven, Body body)
{
    const bool given = outputsGiven && name != nullptr;
    return WithModule(handle, given, [&](const Session::Named& named, const Module& module) {
        const bool ofCamera = named.kind == HandleKind::Camera || named.kind == HandleKind::Stream;
        if (ofCamera && named.camera->IsLost()) {
            return ZvkErrorIO;
        }
        const std::unique_ptr<Feature> feature = module.Find(name);
        if (feature == nullptr) {
            return ZvkErrorNotFound;
        }
        if constexpr (std::is_invocable_v<Body, Feature&, Camera&>) {
            return body(*feature, *named.camera);
        }
        else {
            return body(*feature);
        }
    });
}

// A list of records, filled into the caller's.
ZvkError_t FillRecords(const std::vector<ZvkFeatureInfo_t>& records, ZvkFeatureInfo_t* features,
                       std::uint32_t listLength, std::uint32_t* numFound)
{
    return FillList(features, listLength, numFound, records.size(),
                    [&records](std::size_t i) { return records[i]; });
}

} // namespace

ZvkError_t AravisRuntime::ZvkFeaturesList(ZvkHandle_t handle, ZvkFeatureInfo_t* features,
                                          std::uint32_t listLength, std::uint32_t* numFound,
                                          std::uint32_t sizeofFeatureInfo)
{
    return WithModule(handle, numFound != nullptr, [=](const Session::Named&, const Module& module) {
        if (sizeofFeatureInfo != sizeof(ZvkFeatureInfo_t)) {
            return ZvkErrorStructSize;
        }
        return FillRecords(module.List(), features, listLength, numFound);
    });
}

ZvkError_t AravisRuntime::ZvkFeatureInfoQuery(ZvkHandle_t handle, const char* name, ZvkFeatureInfo_t* info,
                                              std::uint32_t sizeofFeatureInfo)
{
    return WithFeature(handle, name, info != nullptr, [=](const Feature& feature) {
        if (sizeofFeatureInfo != sizeof(ZvkFeatureInfo_t)) {
            return ZvkErrorStructSize;
        }
        *info = feature.Info();
        return ZvkErrorSuccess;
    });
}

ZvkError_t AravisRuntime::ZvkFeatureListSelected(ZvkHandle_t handle, const char* name,
                                                 ZvkFeatureInfo_t* features, std::uint32_t listLength,
                                                 std::uint32_t* numFound, std::uint32_t sizeofFeatureInfo)
{
    return WithFeature(handle, name, numFound != nullptr, [=](const Feature& feature) {
        if (sizeofFeatureInfo != sizeof(ZvkFeatureInfo_t)) {
            return ZvkErrorStructSize;
        }
        return FillRecords(feature.Selected(), features, listLength, numFound);
    });
}

ZvkError_t AravisRuntime::ZvkFeatureAccessQuery(ZvkHandle_t handle, const char* name, ZvkBool_t* isReadable,
                                                ZvkBool_t* isWriteable)
{
    const bool given = isReadable != nullptr || isWriteable != nullptr;
    return WithFeature(handle, name, given, [=](const Feature& feature) {
        bool readable = false;
        bool writable = false;
        const ZvkError_t error = feature.QueryAccess(&readable, &writable);
        if (isReadable != nullptr) {
            *isReadable = readable ? 1 : 0;
        }
        if (isWriteable != nullptr) {
            *isWriteable = writable ? 1 : 0;
        }
        return error;
    });
}

ZvkError_t AravisRuntime::ZvkFeatureIntGet(ZvkHandle_t handle, const char* name, std::int64_t* value)
{
    return WithFeature(handle, name, value != nullptr,
                       [=](const Feature& feature) { return feature.GetInt(value); });
}

ZvkError_t AravisRuntime::ZvkFeatureIntSet(ZvkHandle_t handle, const char* name, std::int64_t value)
{
    return WithFeature(handle, name, true, [=](Feature& feature) { return feature.SetInt(value); });
}

ZvkError_t AravisRuntime::ZvkFeatureIntRangeQuery(ZvkHandle_t handle, const char* name, std::int64_t* minimum,
                                                  std::int64_t* maximum)
{
    const bool given = minimum != nullptr && maximum != nullptr;
    return WithFeature(handle, name, given,
                       [=](const Feature& feature) { return feature.GetIntRange(minimum, maximum); });
}

ZvkError_t AravisRuntime::ZvkFeatureIntIncrementQuery(ZvkHandle_t handle, const char* name,
                                                      std::int64_t* increment)
{
    return WithFeature(handle, name, increment != nullptr,
                       [=](const Feature& feature) { return feature.GetIntIncrement(increment); });
}

// Aravis does not tell the values that an integer is confined to.
ZvkError_t AravisRuntime::ZvkFeatureIntValidValueSetQuery(ZvkHandle_t, const char*, std::int64_t*,
                                                          std::uint32_t, std::uint32_t*)
{
    return ZvkErrorNotSupported;
}

ZvkError_t AravisRuntime::ZvkFeatureFloatGet(ZvkHandle_t handle, const char* name, double* value)
{
    return WithFeature(handle, name, value != nullptr,
                       [=](const Feature& feature) { return feature.GetFloat(value); });
}

ZvkError_t AravisRuntime::ZvkFeatureFloatSet(ZvkHandle_t handle, const char* name, double value)
{
    return WithFeature(handle, name, true, [=](Feature& feature) { return feature.SetFloat(value); });
}

ZvkError_t AravisRuntime::ZvkFeatureFloatRangeQuery(ZvkHandle_t handle, const char* name, double* minimum,
                                                    double* maximum)
{
    const bool given = minimum != nullptr && maximum != nullptr;
    return WithFeature(handle, name, given,
                       [=](const Feature& feature) { return feature.GetFloatRange(minimum, maximum); });
}

ZvkError_t AravisRuntime::ZvkFeatureFloatIncrementQuery(ZvkHandle_t handle, const char* name,
                                                        ZvkBool_t* hasIncrement, double* increment)
{
    const bool given = hasIncrement != nullptr && increment != nullptr;
    return WithFeature(handle, name, given, [=](const Feature& feature) {
        const ZvkError_t error = feature.GetFloatIncrement(increment);
        *hasIncrement = error == ZvkErrorSuccess && *increment > 0 ? 1 : 0;
        return error;
    });
}

ZvkError_t AravisRuntime::ZvkFeatureEnumGet(ZvkHandle_t handle, const char* name, const char** value)
{
    return WithFeature(handle, name, value != nullptr,
                       [=](const Feature& feature) { return feature.GetEnum(value); });
}

ZvkError_t AravisRuntime::ZvkFeatureEnumSet(ZvkHandle_t handle, const char* name, const char* value)
{
    return WithFeature(handle, name, value != nullptr,
                       [=](Feature& feature) { return feature.SetEnum(value); });
}

ZvkError_t AravisRuntime::ZvkFeatureEnumRangeQuery(ZvkHandle_t handle, const char* name, const char** entries,
                                                   std::uint32_t listLength, std::uint32_t* numFilled)
{
    return WithFeature(handle, name, numFilled != nullptr, [=](const Feature& feature) {
        std::vector<const char*> names;
        const ZvkError_t error = feature.GetEntries(&names);
        return error != ZvkErrorSuccess ? error
                                        : FillList(entries, listLength, numFilled, names.size(),
                                                   [&names](std::size_t i) { return names[i]; });
    });
}

ZvkError_t AravisRuntime::ZvkFeatureEnumIsAvailable(ZvkHandle_t handle, const char* name, const char* value,
                                                    ZvkBool_t* isAvailable)
{
    return WithFeature(handle, name, value != nullptr && isAvailable != nullptr, [=](const Feature& feature) {
        bool available = false;
        const ZvkError_t error = feature.IsEntryAvailable(value, &available);
        *isAvailable = available ? 1 : 0;
        return error;
    });
}

ZvkError_t AravisRuntime::ZvkFeatureEnumAsInt(ZvkHandle_t handle, const char* name, const char* value,
                                              std::int64_t* intValue)
{
    return WithFeature(handle, name, value != nullptr && intValue != nullptr,
                       [=](const Feature& feature) { return feature.GetEntryValue(value, intValue); });
}

ZvkError_t AravisRuntime::ZvkFeatureEnumAsString(ZvkHandle_t handle, const char* name, std::int64_t intValue,
                                                 const char** value)
{
    return WithFeature(handle, name, value != nullptr,
                       [=](const Feature& feature) { return feature.GetEntryName(intValue, value); });
}

ZvkError_t AravisRuntime::ZvkFeatureEnumEntryGet(ZvkHandle_t handle, const char* name, const char* value,
                                                 ZvkFeatureInfo_t* info, std::uint32_t sizeofFeatureInfo)
{
    return WithFeature(handle, name, value != nullptr && info != nullptr, [=](const Feature& feature) {
        return sizeofFeatureInfo != sizeof(ZvkFeatureInfo_t) ? ZvkErrorStructSize
                                                             : feature.GetEntryInfo(value, info);
    });
}

ZvkError_t AravisRuntime::ZvkFeatureStringGet(ZvkHandle_t handle, const char* name, char* buffer,
                                              std::uint32_t bufferSize, std::uint32_t* sizeFilled)
{
    return WithFeature(handle, name, buffer != nullptr || sizeFilled != nullptr, [=](const Feature& feature) {
        std::string text;
        const ZvkError_t error = feature.GetString(&text);
        return error != ZvkErrorSuccess
                   ? error
                   : CopyOut(text.c_str(), text.size() + 1, buffer, bufferSize, sizeFilled);
    });
}

ZvkError_t AravisRuntime::ZvkFeatureStringSet(ZvkHandle_t handle, const char* name, const char* value)
{
    return WithFeature(handle, name, value != nullptr,
                       [=](Feature& feature) { return feature.SetString(value); });
}

ZvkError_t AravisRuntime::ZvkFeatureStringMaxlengthQuery(ZvkHandle_t handle, const char* name,
                                                         std::uint32_t* maxLength)
{
    return WithFeature(handle, name, maxLength != nullptr,
                       [=](const Feature& feature) { return feature.GetStringLimit(maxLength); });
}

ZvkError_t AravisRuntime::ZvkFeatureBoolGet(ZvkHandle_t handle, const char* name, ZvkBool_t* value)
{
    return WithFeature(handle, name, value != nullptr, [=](const Feature& feature) {
        bool read = false;
        const ZvkError_t error = feature.GetBool(&read);
        if (error == ZvkErrorSuccess) {
            *value = read ? 1 : 0;
        }
        return error;
    });
}

ZvkError_t AravisRuntime::ZvkFeatureBoolSet(ZvkHandle_t handle, const char* name, ZvkBool_t value)
{
    return WithFeature(handle, name, true, [=](Feature& feature) { return feature.SetBool(value != 0); });
}

ZvkError_t AravisRuntime::ZvkFeatureCommandRun(ZvkHandle_t handle, const char* name)
{
    return WithFeature(handle, name, true, [=](Feature& feature, Camera& camera) {
        if (std::strcmp(name, "AcquisitionStart") == 0) {
            camera.Frames().RestartNumbers(); // before the first frame can come
        }
        return feature.Run();
    });
}

ZvkError_t AravisRuntime::ZvkFeatureCommandIsDone(ZvkHandle_t handle, const char* name, ZvkBool_t* isDone)
{
    return WithFeature(handle, name, isDone != nullptr, [=](const Feature& feature) {
        bool done = false;
        const ZvkError_t error = feature.IsDone(&done);
        *isDone = error == ZvkErrorSuccess && done ? 1 : 0;
        return error;
    });
}

ZvkError_t AravisRuntime::ZvkFeatureRawGet(ZvkHandle_t handle, const char* name, char* buffer,
                                           std::uint32_t bufferSize, std::uint32_t* sizeFilled)
{
    return WithFeature(handle, name, buffer != nullptr && sizeFilled != nullptr, [=](const Feature& feature) {
        std::string bytes;
        const ZvkError_t error = feature.GetRaw(&bytes);
        return error != ZvkErrorSuccess ? error
                                        : CopyOut(bytes.data(), bytes.size(), buffer, bufferSize, sizeFilled);
    });
}

ZvkError_t AravisRuntime::ZvkFeatureRawSet(ZvkHandle_t handle, const char* name, const char* buffer,
                                           std::uint32_t bufferSize)
{
    return WithFeature(handle, name, buffer != nullptr,
                       [=](Feature& feature) { return feature.SetRaw(buffer, bufferSize); });
}

ZvkError_t AravisRuntime::ZvkFeatureRawLengthQuery(ZvkHandle_t handle, const char* name,
                                                   std::uint32_t* length)
{
    return WithFeature(handle, name, length != nullptr,
                       [=](const Feature& feature) { return feature.GetRawLength(length); });
}

// Aravis does not tell of changes.
ZvkError_t AravisRuntime::ZvkFeatureInvalidationRegister(ZvkHandle_t, const char*, ZvkInvalidationCallback,
                                                         void*)
{
    return ZvkErrorNotSupported;
}

ZvkError_t AravisRuntime::ZvkFeatureInvalidationUnregister(ZvkHandle_t, const char*, ZvkInvalidationCallback)
{
    return ZvkErrorNotSupported;
}

} // namespace maravel::aravis
