#include "NodeFeature.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace maravel::aravis {
namespace {

// Aravis answers this for a real number without an increment.
constexpr double kNoIncrement = G_MINDOUBLE;

// Registers that every GigE Vision camera has, also when its description leaves them out: Aravis has them
// under names of its own.
struct StandardRegister
{
    const char* name;
    const char* nameInAravis;
};
constexpr StandardRegister kStandardRegisters[] = {{"GevCurrentIPAddress", "ArvGevCurrentIPAddress"},
                                                   {"GevSCPSPacketSize", "ArvGevSCPSPacketSize"}};

const char* UnitOf(ArvGcFeatureNode* node)
{
    if (ARV_IS_GC_INTEGER(node)) {
        return arv_gc_integer_get_unit(ARV_GC_INTEGER(node));
    }
    return ARV_IS_GC_FLOAT(node) ? arv_gc_float_get_unit(ARV_GC_FLOAT(node)) : "";
}

// A number without limits in the description has GenICam's own, those of its type: no failure.
ZvkError_t LimitCode(const Outcome& low, const Outcome& high)
{
    for (const Outcome* outcome : {&low, &high}) {
        if (outcome->Code() != ZvkErrorSuccess && outcome->Code() != ZvkErrorNotAvailable) {
            return outcome->Code();
        }
    }
    return ZvkErrorSuccess;
}

// Beginner is 0, and what is to stay unseen is highest.
std::uint32_t VisibilityOf(ArvGcFeatureNode* node)
{
    const ArvGcVisibility visibility = arv_gc_feature_node_get_visibility(node);
    return visibility == ARV_GC_VISIBILITY_UNDEFINED
               ? 0
               : static_cast<std::uint32_t>(ARV_GC_VISIBILITY_BEGINNER - visibility);
}

} // namespace

ZvkFeatureDataType NodeFeature::TypeOf(ArvGcFeatureNode* node)
{
    // The order counts: an enumeration is an integer and a string too.
    if (ARV_IS_GC_ENUMERATION(node)) {
        return ZvkFeatureDataEnum;
    }
    if (ARV_IS_GC_BOOLEAN(node)) {
        return ZvkFeatureDataBool;
    }
    if (ARV_IS_GC_COMMAND(node)) {
        return ZvkFeatureDataCommand;
    }
    if (ARV_IS_GC_FLOAT(node)) {
        return ZvkFeatureDataFloat;
    }
    if (ARV_IS_GC_INTEGER(node)) {
        return ZvkFeatureDataInt;
    }
    if (ARV_IS_GC_STRING(node)) {
        return ZvkFeatureDataString;
    }
    return ARV_IS_GC_REGISTER(node) ? ZvkFeatureDataRaw : ZvkFeatureDataNone;
}

ZvkFeatureInfo_t NodeFeature::Info() const
{
    const bool standard = arv_gc_feature_node_get_name_space(node_) == ARV_GC_NAME_SPACE_STANDARD;
    const ArvGcAccessMode mode = arv_gc_feature_node_get_actual_access_mode(node_);
    const char* shown = arv_gc_feature_node_get_display_name(node_);
    ZvkFeatureInfo_t info{};
    info.name = texts_.Keep(name_);
    info.category = category_;
    info.displayName = texts_.Keep(shown == nullptr ? name_ : shown);
    info.sfncNamespace = standard ? "Standard" : "Custom";
    info.description = texts_.Keep(arv_gc_feature_node_get_description(node_));
    info.tooltip = texts_.Keep(arv_gc_feature_node_get_tooltip(node_));
    info.unit = texts_.Keep(type_ == ZvkFeatureDataInt || type_ == ZvkFeatureDataFloat ? UnitOf(node_) : "");
    info.representation = "";
    info.featureDataType = type_;
    info.featureFlags = (mode == ARV_GC_ACCESS_MODE_WO ? 0U : 1U) | (mode == ARV_GC_ACCESS_MODE_RO ? 0U : 2U);
    info.visibility = VisibilityOf(node_);
    info.hasSelectedFeatures =
        ARV_IS_GC_SELECTOR(node_) && arv_gc_selector_is_selector(ARV_GC_SELECTOR(node_)) ? 1 : 0;
    return info;
}

ZvkError_t NodeFeature::QueryAvailable(bool* available) const
{
    Outcome outcome;
    *available = arv_gc_feature_node_is_implemented(node_, outcome.Slot()) != 0;
    if (!outcome.Failed() && *available) {
        *available = arv_gc_feature_node_is_available(node_, outcome.Slot()) != 0;
    }
    return outcome.Code();
}

ZvkError_t NodeFeature::QueryAccess(bool* readable, bool* writable) const
{
    *readable = *writable = false;
    bool available = false;
    ZvkError_t error = QueryAvailable(&available);
    if (error != ZvkErrorSuccess || !available) {
        return error;
    }
    Outcome outcome;
    const bool locked = arv_gc_feature_node_is_locked(node_, outcome.Slot()) != 0;
    const ArvGcAccessMode mode = arv_gc_feature_node_get_actual_access_mode(node_);
    *readable = mode != ARV_GC_ACCESS_MODE_WO && type_ != ZvkFeatureDataCommand;
    *writable = mode != ARV_GC_ACCESS_MODE_RO && !locked && !outcome.Failed();
    return outcome.Code();
}

std::vector<ZvkFeatureInfo_t> NodeFeature::Selected() const
{
    std::vector<ZvkFeatureInfo_t> selected;
    if (!ARV_IS_GC_SELECTOR(node_)) {
        return selected;
    }
    const GSList* list = arv_gc_selector_get_selected_features(ARV_GC_SELECTOR(node_));
    for (; list != nullptr; list = list->next) {
        if (ARV_IS_GC_FEATURE_NODE(list->data)) {
            selected.push_back(NodeFeature(ARV_GC_FEATURE_NODE(list->data), category_, texts_).Info());
        }
    }
    return selected;
}

ZvkError_t NodeFeature::CheckType(ZvkFeatureDataType type) const
{
    if (type_ != type) {
        return ZvkErrorWrongType;
    }
    bool available = false;
    const ZvkError_t error = QueryAvailable(&available);
    return error != ZvkErrorSuccess || available ? error : ZvkErrorNotAvailable;
}

ZvkError_t NodeFeature::CheckRead(ZvkFeatureDataType type) const
{
    const ZvkError_t error = CheckType(type);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    const bool readable = arv_gc_feature_node_get_actual_access_mode(node_) != ARV_GC_ACCESS_MODE_WO;
    return readable ? ZvkErrorSuccess : ZvkErrorInvalidAccess;
}

ZvkError_t NodeFeature::CheckWrite(ZvkFeatureDataType type) const
{
    ZvkError_t error = CheckType(type);
    bool readable = false;
    bool writable = false;
    if (error == ZvkErrorSuccess) {
        error = QueryAccess(&readable, &writable);
    }
    return error != ZvkErrorSuccess || writable ? error : ZvkErrorInvalidAccess;
}

ZvkError_t NodeFeature::GetInt(std::int64_t* value) const
{
    const ZvkError_t error = CheckRead(ZvkFeatureDataInt);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome outcome;
    const std::int64_t read = arv_gc_integer_get_value(ARV_GC_INTEGER(node_), outcome.Slot());
    if (!outcome.Failed()) {
        *value = read;
    }
    return outcome.Code();
}

ZvkError_t NodeFeature::SetInt(std::int64_t value)
{
    ZvkError_t error = CheckWrite(ZvkFeatureDataInt);
    std::int64_t minimum = 0;
    std::int64_t maximum = 0;
    std::int64_t increment = 0;
    if (error == ZvkErrorSuccess) {
        error = GetIntRange(&minimum, &maximum);
    }
    if (error == ZvkErrorSuccess) {
        error = GetIntIncrement(&increment);
    }
    if (error != ZvkErrorSuccess) {
        return error;
    }
    if (value < minimum || value > maximum) {
        return ZvkErrorInvalidValue;
    }
    // Unsigned, because the distance from the smallest of all minimums does not fit.
    const auto distance = static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(minimum);
    if (increment > 1 && distance % static_cast<std::uint64_t>(increment) != 0) {
        return ZvkErrorInvalidValue;
    }
    Outcome outcome;
    arv_gc_integer_set_value(ARV_GC_INTEGER(node_), value, outcome.Slot());
    return outcome.Code();
}

ZvkError_t NodeFeature::GetIntRange(std::int64_t* minimum, std::int64_t* maximum) const
{
    const ZvkError_t error = CheckType(ZvkFeatureDataInt);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome low;
    Outcome high;
    const std::int64_t least = arv_gc_integer_get_min(ARV_GC_INTEGER(node_), low.Slot());
    const std::int64_t most = arv_gc_integer_get_max(ARV_GC_INTEGER(node_), high.Slot());
    *minimum = low.Failed() ? std::numeric_limits<std::int64_t>::min() : least;
    *maximum = high.Failed() ? std::numeric_limits<std::int64_t>::max() : most;
    return LimitCode(low, high);
}

ZvkError_t NodeFeature::GetIntIncrement(std::int64_t* increment) const
{
    const ZvkError_t error = CheckType(ZvkFeatureDataInt);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome outcome;
    *increment = arv_gc_integer_get_inc(ARV_GC_INTEGER(node_), outcome.Slot());
    return outcome.Code();
}

ZvkError_t NodeFeature::GetFloat(double* value) const
{
    const ZvkError_t error = CheckRead(ZvkFeatureDataFloat);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome outcome;
    const double read = arv_gc_float_get_value(ARV_GC_FLOAT(node_), outcome.Slot());
    if (!outcome.Failed()) {
        *value = read;
    }
    return outcome.Code();
}

ZvkError_t NodeFeature::SetFloat(double value)
{
    ZvkError_t error = CheckWrite(ZvkFeatureDataFloat);
    double minimum = 0;
    double maximum = 0;
    if (error == ZvkErrorSuccess) {
        error = GetFloatRange(&minimum, &maximum);
    }
    if (error != ZvkErrorSuccess) {
        return error;
    }
    if (!(value >= minimum && value <= maximum)) { // refuses what is not a number, too
        return ZvkErrorInvalidValue;
    }
    Outcome outcome;
    arv_gc_float_set_value(ARV_GC_FLOAT(node_), value, outcome.Slot());
    return outcome.Code();
}

ZvkError_t NodeFeature::GetFloatRange(double* minimum, double* maximum) const
{
    const ZvkError_t error = CheckType(ZvkFeatureDataFloat);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome low;
    Outcome high;
    const double least = arv_gc_float_get_min(ARV_GC_FLOAT(node_), low.Slot());
    const double most = arv_gc_float_get_max(ARV_GC_FLOAT(node_), high.Slot());
    *minimum = low.Failed() ? std::numeric_limits<double>::lowest() : least;
    *maximum = high.Failed() ? std::numeric_limits<double>::max() : most;
    return LimitCode(low, high);
}

ZvkError_t NodeFeature::GetFloatIncrement(double* increment) const
{
    const ZvkError_t error = CheckType(ZvkFeatureDataFloat);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome outcome;
    const double step = arv_gc_float_get_inc(ARV_GC_FLOAT(node_), outcome.Slot());
    *increment = outcome.Failed() || step <= kNoIncrement ? 0 : step;
    return outcome.Code();
}

ZvkError_t NodeFeature::GetBool(bool* value) const
{
    const ZvkError_t error = CheckRead(ZvkFeatureDataBool);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome outcome;
    *value = arv_gc_boolean_get_value(ARV_GC_BOOLEAN(node_), outcome.Slot()) != 0;
    return outcome.Code();
}

ZvkError_t NodeFeature::SetBool(bool value)
{
    const ZvkError_t error = CheckWrite(ZvkFeatureDataBool);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome outcome;
    arv_gc_boolean_set_value(ARV_GC_BOOLEAN(node_), value ? 1 : 0, outcome.Slot());
    return outcome.Code();
}

NodeModule::NodeModule(ArvDevice* device, TextStore& texts) : device_(device), texts_(texts)
{
    ArvGc* description = arv_device_get_genicam(device_);
    if (description == nullptr) {
        return;
    }
    Walk(arv_gc_get_node(description, "Root"), "", 0);
    if (ARV_IS_GV_DEVICE(device_)) {
        AddStandardRegisters();
    }
}

void NodeModule::AddStandardRegisters()
{
    for (const StandardRegister& standard : kStandardRegisters) {
        const bool listed = std::any_of(entries_.begin(), entries_.end(), [&standard](const Entry& entry) {
            return std::strcmp(entry.name, standard.name) == 0;
        });
        ArvGcNode* node = arv_device_get_feature(device_, standard.nameInAravis);
        if (!listed && ARV_IS_GC_FEATURE_NODE(node)) {
            entries_.push_back({ARV_GC_FEATURE_NODE(node), standard.name, "/TransportLayerControl"});
        }
    }
}

// Categories hold names of features and of other categories. A description may name a feature twice, or
// wrongly.
void NodeModule::Walk(ArvGcNode* node, const std::string& path, int depth)
{
    constexpr int maxDepth = 16;
    if (node == nullptr || !ARV_IS_GC_FEATURE_NODE(node) || depth > maxDepth) {
        return;
    }
    if (ARV_IS_GC_CATEGORY(node)) {
        const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(node));
        const std::string inner = depth == 0 ? "" : path + "/" + name;
        for (const GSList* list = arv_gc_category_get_features(ARV_GC_CATEGORY(node)); list != nullptr;
             list = list->next) {
            Walk(arv_gc_get_node(arv_device_get_genicam(device_), static_cast<const char*>(list->data)),
                 inner, depth + 1);
        }
        return;
    }
    ArvGcFeatureNode* feature = ARV_GC_FEATURE_NODE(node);
    const bool known = std::any_of(entries_.begin(), entries_.end(),
                                   [feature](const Entry& entry) { return entry.node == feature; });
    if (!known) {
        entries_.push_back({feature, arv_gc_feature_node_get_name(feature), texts_.Keep(path.c_str())});
    }
}

std::vector<ZvkFeatureInfo_t> NodeModule::List() const
{
    std::vector<ZvkFeatureInfo_t> list;
    for (const Entry& entry : entries_) {
        list.push_back(NodeFeature(entry.node, entry.name, entry.category, texts_).Info());
    }
    return list;
}

std::unique_ptr<Feature> NodeModule::Find(const char* name) const
{
    for (const Entry& entry : entries_) {
        if (std::strcmp(entry.name, name) == 0) {
            return std::make_unique<NodeFeature>(entry.node, entry.name, entry.category, texts_);
        }
    }
    // The description may know more than it lists.
    ArvGcNode* node = arv_device_get_feature(device_, name);
    if (node == nullptr || !ARV_IS_GC_FEATURE_NODE(node) || ARV_IS_GC_CATEGORY(node) ||
        ARV_IS_GC_ENUM_ENTRY(node)) {
        return nullptr;
    }
    return std::make_unique<NodeFeature>(ARV_GC_FEATURE_NODE(node), "", texts_);
}

} // namespace maravel::aravis
