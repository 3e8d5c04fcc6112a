// Entry points for features.
#include "ControlState.h"
#include "Library.h"
#include "SimulatedRuntime.h"
#include "backends/common/Outputs.h"

#include <algorithm>
#include <cstring>

namespace maravel::simulated {

using backend::CopyOut;
using backend::FillList;

namespace {

// The way of every entry point that concerns one feature: finds it and runs body(features, feature).
template <typename Body>
ZvkError_t WithFeature(const char* entry, ZvkHandle_t handle, const char* name, bool outputsGiven, Body body)
{
    Session session(entry);
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    FeatureSet* features = session.Get().FeaturesOf(handle);
    if (features == nullptr) {
        return session.BadHandle(handle);
    }
    if (name == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "the feature's name is null");
    }
    if (!outputsGiven) {
        return session.Misuse(ZvkErrorBadParameter, "an output or a value is null");
    }
    const backend::HandleTable::Entry* known = session.Get().Handles().Find(handle);
    if (known->name.kind == backend::HandleKind::Camera && g_control.IsUnplugged(known->name.index)) {
        return ZvkErrorIO;
    }
    Feature* feature = features->Find(name);
    return feature == nullptr ? ZvkErrorNotFound : body(*features, *feature);
}

} // namespace

ZvkError_t SimulatedRuntime::ZvkFeaturesList(ZvkHandle_t handle, ZvkFeatureInfo_t* features,
                                             std::uint32_t listLength, std::uint32_t* numFound,
                                             std::uint32_t sizeofFeatureInfo)
{
    Session session("ZvkFeaturesList");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    const FeatureSet* set = session.Get().FeaturesOf(handle);
    if (set == nullptr) {
        return session.BadHandle(handle);
    }
    if (numFound == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "numFound is null");
    }
    if (sizeofFeatureInfo != sizeof(ZvkFeatureInfo_t)) {
        return session.Misuse(ZvkErrorStructSize, "the record's size is not that of ZvkFeatureInfo_t");
    }
    return FillList(features, listLength, numFound, set->Size(),
                    [set](std::size_t i) { return FeatureInfo((*set)[i]); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureInfoQuery(ZvkHandle_t handle, const char* name, ZvkFeatureInfo_t* info,
                                                 std::uint32_t sizeofFeatureInfo)
{
    return WithFeature(
        "ZvkFeatureInfoQuery", handle, name, info != nullptr, [=](FeatureSet&, Feature& feature) {
            if (sizeofFeatureInfo != sizeof(ZvkFeatureInfo_t)) {
                g_violations.Add("ZvkFeatureInfoQuery", "the record's size is not that of ZvkFeatureInfo_t");
                return ZvkErrorStructSize;
            }
            *info = FeatureInfo(feature);
            return ZvkErrorSuccess;
        });
}

ZvkError_t SimulatedRuntime::ZvkFeatureListSelected(ZvkHandle_t handle, const char* name,
                                                    ZvkFeatureInfo_t* features, std::uint32_t listLength,
                                                    std::uint32_t* numFound, std::uint32_t sizeofFeatureInfo)
{
    return WithFeature("ZvkFeatureListSelected", handle, name, numFound != nullptr,
                       [=](FeatureSet& set, Feature& selector) {
                           if (sizeofFeatureInfo != sizeof(ZvkFeatureInfo_t)) {
                               g_violations.Add("ZvkFeatureListSelected",
                                                "the record's size is not that of ZvkFeatureInfo_t");
                               return ZvkErrorStructSize;
                           }
                           std::vector<const Feature*> selected;
                           for (std::size_t i = 0; i < set.Size(); ++i) {
                               if (set[i].selector == &selector) {
                                   selected.push_back(&set[i]);
                               }
                           }
                           return FillList(features, listLength, numFound, selected.size(),
                                           [&selected](std::size_t i) { return FeatureInfo(*selected[i]); });
                       });
}

ZvkError_t SimulatedRuntime::ZvkFeatureAccessQuery(ZvkHandle_t handle, const char* name,
                                                   ZvkBool_t* isReadable, ZvkBool_t* isWriteable)
{
    const bool given = isReadable != nullptr || isWriteable != nullptr;
    return WithFeature("ZvkFeatureAccessQuery", handle, name, given, [=](FeatureSet& set, Feature& feature) {
        if (isReadable != nullptr) {
            *isReadable = set.IsReadable(feature) ? 1 : 0;
        }
        if (isWriteable != nullptr) {
            *isWriteable = set.IsWritable(feature) ? 1 : 0;
        }
        return ZvkErrorSuccess;
    });
}

ZvkError_t SimulatedRuntime::ZvkFeatureIntGet(ZvkHandle_t handle, const char* name, std::int64_t* value)
{
    return WithFeature("ZvkFeatureIntGet", handle, name, value != nullptr,
                       [=](FeatureSet& set, Feature& feature) { return set.GetInt(feature, value); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureIntSet(ZvkHandle_t handle, const char* name, std::int64_t value)
{
    return WithFeature("ZvkFeatureIntSet", handle, name, true,
                       [=](FeatureSet& set, Feature& feature) { return set.SetInt(feature, value); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureIntRangeQuery(ZvkHandle_t handle, const char* name,
                                                     std::int64_t* minimum, std::int64_t* maximum)
{
    const bool given = minimum != nullptr && maximum != nullptr;
    return WithFeature("ZvkFeatureIntRangeQuery", handle, name, given, [=](FeatureSet&, Feature& feature) {
        if (feature.type != ZvkFeatureDataInt) {
            return ZvkErrorWrongType;
        }
        if (!feature.IsAvailable()) {
            return ZvkErrorNotAvailable;
        }
        const auto range = feature.IntRange();
        *minimum = range.minimum;
        *maximum = range.maximum;
        return ZvkErrorSuccess;
    });
}

ZvkError_t SimulatedRuntime::ZvkFeatureIntIncrementQuery(ZvkHandle_t handle, const char* name,
                                                         std::int64_t* increment)
{
    return WithFeature("ZvkFeatureIntIncrementQuery", handle, name, increment != nullptr,
                       [=](FeatureSet&, Feature& feature) {
                           if (feature.type != ZvkFeatureDataInt) {
                               return ZvkErrorWrongType;
                           }
                           *increment = feature.increment;
                           return ZvkErrorSuccess;
                       });
}

ZvkError_t SimulatedRuntime::ZvkFeatureIntValidValueSetQuery(ZvkHandle_t handle, const char* name,
                                                             std::int64_t* values, std::uint32_t listLength,
                                                             std::uint32_t* numFound)
{
    return WithFeature("ZvkFeatureIntValidValueSetQuery", handle, name, numFound != nullptr,
                       [=](FeatureSet&, Feature& feature) {
                           if (feature.type != ZvkFeatureDataInt) {
                               return ZvkErrorWrongType;
                           }
                           if (feature.validValues.empty()) {
                               return ZvkErrorNotAvailable; // it has a range instead
                           }
                           return FillList(values, listLength, numFound, feature.validValues.size(),
                                           [&feature](std::size_t i) { return feature.validValues[i]; });
                       });
}

ZvkError_t SimulatedRuntime::ZvkFeatureFloatGet(ZvkHandle_t handle, const char* name, double* value)
{
    return WithFeature("ZvkFeatureFloatGet", handle, name, value != nullptr,
                       [=](FeatureSet& set, Feature& feature) { return set.GetFloat(feature, value); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureFloatSet(ZvkHandle_t handle, const char* name, double value)
{
    return WithFeature("ZvkFeatureFloatSet", handle, name, true,
                       [=](FeatureSet& set, Feature& feature) { return set.SetFloat(feature, value); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureFloatRangeQuery(ZvkHandle_t handle, const char* name, double* minimum,
                                                       double* maximum)
{
    const bool given = minimum != nullptr && maximum != nullptr;
    return WithFeature("ZvkFeatureFloatRangeQuery", handle, name, given, [=](FeatureSet&, Feature& feature) {
        if (feature.type != ZvkFeatureDataFloat) {
            return ZvkErrorWrongType;
        }
        if (!feature.IsAvailable()) {
            return ZvkErrorNotAvailable;
        }
        const auto range = feature.FloatRange();
        *minimum = range.minimum;
        *maximum = range.maximum;
        return ZvkErrorSuccess;
    });
}

ZvkError_t SimulatedRuntime::ZvkFeatureFloatIncrementQuery(ZvkHandle_t handle, const char* name,
                                                           ZvkBool_t* hasIncrement, double* increment)
{
    const bool given = hasIncrement != nullptr && increment != nullptr;
    return WithFeature("ZvkFeatureFloatIncrementQuery", handle, name, given,
                       [=](FeatureSet&, Feature& feature) {
                           if (feature.type != ZvkFeatureDataFloat) {
                               return ZvkErrorWrongType;
                           }
                           *hasIncrement = 0; // the cameras' real numbers are free within their range
                           *increment = 0;
                           return ZvkErrorSuccess;
                       });
}

ZvkError_t SimulatedRuntime::ZvkFeatureEnumGet(ZvkHandle_t handle, const char* name, const char** value)
{
    return WithFeature("ZvkFeatureEnumGet", handle, name, value != nullptr,
                       [=](FeatureSet& set, Feature& feature) { return set.GetEnum(feature, value); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureEnumSet(ZvkHandle_t handle, const char* name, const char* value)
{
    return WithFeature("ZvkFeatureEnumSet", handle, name, value != nullptr,
                       [=](FeatureSet& set, Feature& feature) { return set.SetEnum(feature, value); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureEnumRangeQuery(ZvkHandle_t handle, const char* name,
                                                      const char** entries, std::uint32_t listLength,
                                                      std::uint32_t* numFilled)
{
    return WithFeature(
        "ZvkFeatureEnumRangeQuery", handle, name, numFilled != nullptr, [=](FeatureSet&, Feature& feature) {
            if (feature.type != ZvkFeatureDataEnum) {
                return ZvkErrorWrongType;
            }
            return FillList(entries, listLength, numFilled, feature.entries.size(),
                            [&feature](std::size_t i) { return feature.entries[i].name.c_str(); });
        });
}

namespace {

// The way of the entry points that concern one entry of an enumeration.
template <typename Key, typename Body>
ZvkError_t WithEntry(const char* entryPoint, ZvkHandle_t handle, const char* name, const Key& key, bool given,
                     Body body)
{
    return WithFeature(entryPoint, handle, name, given, [&](FeatureSet&, Feature& feature) {
        if (feature.type != ZvkFeatureDataEnum) {
            return ZvkErrorWrongType;
        }
        const EnumEntry* entry = feature.FindEntry(key);
        return entry == nullptr ? ZvkErrorNotFound : body(feature, *entry);
    });
}

} // namespace

ZvkError_t SimulatedRuntime::ZvkFeatureEnumIsAvailable(ZvkHandle_t handle, const char* name,
                                                       const char* value, ZvkBool_t* isAvailable)
{
    const bool given = value != nullptr && isAvailable != nullptr;
    return WithEntry("ZvkFeatureEnumIsAvailable", handle, name, value, given,
                     [=](const Feature& feature, const EnumEntry& entry) {
                         const bool available = !entry.available || entry.available();
                         *isAvailable = available && feature.IsAvailable() ? 1 : 0;
                         return ZvkErrorSuccess;
                     });
}

ZvkError_t SimulatedRuntime::ZvkFeatureEnumAsInt(ZvkHandle_t handle, const char* name, const char* value,
                                                 std::int64_t* intValue)
{
    const bool given = value != nullptr && intValue != nullptr;
    return WithEntry("ZvkFeatureEnumAsInt", handle, name, value, given,
                     [=](const Feature&, const EnumEntry& entry) {
                         *intValue = entry.value;
                         return ZvkErrorSuccess;
                     });
}

ZvkError_t SimulatedRuntime::ZvkFeatureEnumAsString(ZvkHandle_t handle, const char* name,
                                                    std::int64_t intValue, const char** value)
{
    return WithEntry("ZvkFeatureEnumAsString", handle, name, intValue, value != nullptr,
                     [=](const Feature&, const EnumEntry& entry) {
                         *value = entry.name.c_str();
                         return ZvkErrorSuccess;
                     });
}

ZvkError_t SimulatedRuntime::ZvkFeatureEnumEntryGet(ZvkHandle_t handle, const char* name, const char* value,
                                                    ZvkFeatureInfo_t* info, std::uint32_t sizeofFeatureInfo)
{
    const bool given = value != nullptr && info != nullptr;
    return WithEntry("ZvkFeatureEnumEntryGet", handle, name, value, given,
                     [=](const Feature& feature, const EnumEntry& entry) {
                         if (sizeofFeatureInfo != sizeof(ZvkFeatureInfo_t)) {
                             g_violations.Add("ZvkFeatureEnumEntryGet",
                                              "the record's size is not that of ZvkFeatureInfo_t");
                             return ZvkErrorStructSize;
                         }
                         *info = FeatureInfo(feature);
                         info->name = info->displayName = entry.name.c_str();
                         info->featureDataType = ZvkFeatureDataNone;
                         return ZvkErrorSuccess;
                     });
}

ZvkError_t SimulatedRuntime::ZvkFeatureStringGet(ZvkHandle_t handle, const char* name, char* buffer,
                                                 std::uint32_t bufferSize, std::uint32_t* sizeFilled)
{
    const bool given = buffer != nullptr || sizeFilled != nullptr;
    return WithFeature("ZvkFeatureStringGet", handle, name, given, [=](FeatureSet& set, Feature& feature) {
        ZvkError_t error = ZvkErrorSuccess;
        const std::string* text = set.GetText(feature, ZvkFeatureDataString, &error);
        return text == nullptr ? error
                               : CopyOut(text->c_str(), text->size() + 1, buffer, bufferSize, sizeFilled);
    });
}

ZvkError_t SimulatedRuntime::ZvkFeatureStringSet(ZvkHandle_t handle, const char* name, const char* value)
{
    return WithFeature("ZvkFeatureStringSet", handle, name, value != nullptr,
                       [=](FeatureSet& set, Feature& feature) {
                           return set.SetText(feature, ZvkFeatureDataString, value, std::strlen(value));
                       });
}

ZvkError_t SimulatedRuntime::ZvkFeatureStringMaxlengthQuery(ZvkHandle_t handle, const char* name,
                                                            std::uint32_t* maxLength)
{
    return WithFeature("ZvkFeatureStringMaxlengthQuery", handle, name, maxLength != nullptr,
                       [=](FeatureSet&, Feature& feature) {
                           if (feature.type != ZvkFeatureDataString) {
                               return ZvkErrorWrongType;
                           }
                           *maxLength = feature.maxLength;
                           return ZvkErrorSuccess;
                       });
}

ZvkError_t SimulatedRuntime::ZvkFeatureBoolGet(ZvkHandle_t handle, const char* name, ZvkBool_t* value)
{
    return WithFeature("ZvkFeatureBoolGet", handle, name, value != nullptr,
                       [=](FeatureSet& set, Feature& feature) { return set.GetBool(feature, value); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureBoolSet(ZvkHandle_t handle, const char* name, ZvkBool_t value)
{
    return WithFeature("ZvkFeatureBoolSet", handle, name, true,
                       [=](FeatureSet& set, Feature& feature) { return set.SetBool(feature, value); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureCommandRun(ZvkHandle_t handle, const char* name)
{
    return WithFeature("ZvkFeatureCommandRun", handle, name, true,
                       [](FeatureSet& set, Feature& feature) { return set.Run(feature); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureCommandIsDone(ZvkHandle_t handle, const char* name, ZvkBool_t* isDone)
{
    return WithFeature("ZvkFeatureCommandIsDone", handle, name, isDone != nullptr,
                       [=](FeatureSet& set, Feature& feature) { return set.IsDone(feature, isDone); });
}

ZvkError_t SimulatedRuntime::ZvkFeatureRawGet(ZvkHandle_t handle, const char* name, char* buffer,
                                              std::uint32_t bufferSize, std::uint32_t* sizeFilled)
{
    const bool given = buffer != nullptr && sizeFilled != nullptr;
    return WithFeature("ZvkFeatureRawGet", handle, name, given, [=](FeatureSet& set, Feature& feature) {
        ZvkError_t error = ZvkErrorSuccess;
        const std::string* bytes = set.GetText(feature, ZvkFeatureDataRaw, &error);
        return bytes == nullptr ? error
                                : CopyOut(bytes->data(), bytes->size(), buffer, bufferSize, sizeFilled);
    });
}

ZvkError_t SimulatedRuntime::ZvkFeatureRawSet(ZvkHandle_t handle, const char* name, const char* buffer,
                                              std::uint32_t bufferSize)
{
    return WithFeature("ZvkFeatureRawSet", handle, name, buffer != nullptr,
                       [=](FeatureSet& set, Feature& feature) {
                           return set.SetText(feature, ZvkFeatureDataRaw, buffer, bufferSize);
                       });
}

ZvkError_t SimulatedRuntime::ZvkFeatureRawLengthQuery(ZvkHandle_t handle, const char* name,
                                                      std::uint32_t* length)
{
    return WithFeature("ZvkFeatureRawLengthQuery", handle, name, length != nullptr,
                       [=](FeatureSet&, Feature& feature) {
                           if (feature.type != ZvkFeatureDataRaw) {
                               return ZvkErrorWrongType;
                           }
                           *length = feature.maxLength;
                           return ZvkErrorSuccess;
                       });
}

ZvkError_t SimulatedRuntime::ZvkFeatureInvalidationRegister(ZvkHandle_t handle, const char* name,
                                                            ZvkInvalidationCallback callback,
                                                            void* userContext)
{
    Session session("ZvkFeatureInvalidationRegister");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    const FeatureSet* features = session.Get().FeaturesOf(handle);
    if (features == nullptr) {
        return session.BadHandle(handle);
    }
    if (name == nullptr || callback == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "the feature's name or the callback is null");
    }
    if (features->Find(name) == nullptr) {
        return ZvkErrorNotFound;
    }
    return session.Get().Listen({handle, name, callback, userContext}, session.Held());
}

ZvkError_t SimulatedRuntime::ZvkFeatureInvalidationUnregister(ZvkHandle_t handle, const char* name,
                                                              ZvkInvalidationCallback callback)
{
    Session session("ZvkFeatureInvalidationUnregister");
    if (!session.IsStarted()) {
        return ZvkErrorApiNotStarted;
    }
    if (session.Get().FeaturesOf(handle) == nullptr) {
        return session.BadHandle(handle);
    }
    if (name == nullptr || callback == nullptr) {
        return session.Misuse(ZvkErrorBadParameter, "the feature's name or the callback is null");
    }
    const bool found = session.Get().StopListening(handle, name, callback, session.Held());
    return found ? ZvkErrorSuccess : ZvkErrorNotFound;
}

} // namespace maravel::simulated
