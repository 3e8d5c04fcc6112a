// Enumerations, strings, commands and registers of the camera.
#include "NodeFeature.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace maravel::aravis {
namespace {

// The text inside a child element of a node; null when there is none.
const char* ChildText(ArvGcNode* node, const char* element)
{
    ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(node));
    for (; child != nullptr; child = arv_dom_node_get_next_sibling(child)) {
        if (std::strcmp(arv_dom_node_get_node_name(child), element) != 0) {
            continue;
        }
        ArvDomNode* text = arv_dom_node_get_first_child(child);
        return text == nullptr ? nullptr : arv_dom_node_get_node_value(text);
    }
    return nullptr;
}

// The value that a command writes to start.
std::int64_t CommandValue(ArvGcNode* command, ArvGc* description, Outcome* outcome)
{
    if (const char* text = ChildText(command, "CommandValue")) {
        return g_ascii_strtoll(text, nullptr, 0);
    }
    const char* linked = ChildText(command, "pCommandValue");
    ArvGcNode* node = linked == nullptr ? nullptr : arv_gc_get_node(description, linked);
    return ARV_IS_GC_INTEGER(node) ? arv_gc_integer_get_value(ARV_GC_INTEGER(node), outcome->Slot()) : 1;
}

} // namespace

const char* NodeFeature::EntryName(ArvGcEnumEntry* entry) const
{
    return texts_.Keep(arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(entry)));
}

ArvGcEnumEntry* NodeFeature::FindEntry(const char* name) const
{
    const GSList* list = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node_));
    for (; list != nullptr; list = list->next) {
        if (std::strcmp(arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(list->data)), name) == 0) {
            return ARV_GC_ENUM_ENTRY(list->data);
        }
    }
    return nullptr;
}

ZvkError_t NodeFeature::GetEnum(const char** value) const
{
    const ZvkError_t error = CheckRead(ZvkFeatureDataEnum);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome outcome;
    const char* read = arv_gc_enumeration_get_string_value(ARV_GC_ENUMERATION(node_), outcome.Slot());
    if (outcome.Failed()) {
        return outcome.Code();
    }
    if (read == nullptr) {
        return ZvkErrorInvalidValue; // the camera holds a number that none of its entries has
    }
    *value = texts_.Keep(read);
    return ZvkErrorSuccess;
}

ZvkError_t NodeFeature::SetEnum(const char* value)
{
    ZvkError_t error = CheckWrite(ZvkFeatureDataEnum);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    if (FindEntry(value) == nullptr) {
        return ZvkErrorInvalidValue;
    }
    bool available = false;
    error = IsEntryAvailable(value, &available);
    if (error != ZvkErrorSuccess || !available) {
        return error == ZvkErrorSuccess ? ZvkErrorInvalidValue : error;
    }
    Outcome outcome;
    arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(node_), value, outcome.Slot());
    return outcome.Code();
}

ZvkError_t NodeFeature::GetEntries(std::vector<const char*>* entries) const
{
    if (type_ != ZvkFeatureDataEnum) {
        return ZvkErrorWrongType;
    }
    const GSList* list = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node_));
    for (; list != nullptr; list = list->next) {
        entries->push_back(EntryName(ARV_GC_ENUM_ENTRY(list->data)));
    }
    std::reverse(entries->begin(), entries->end()); // Aravis has the description's last one first
    return ZvkErrorSuccess;
}

ZvkError_t NodeFeature::IsEntryAvailable(const char* name, bool* available) const
{
    if (type_ != ZvkFeatureDataEnum) {
        return ZvkErrorWrongType;
    }
    ArvGcEnumEntry* entry = FindEntry(name);
    if (entry == nullptr) {
        return ZvkErrorNotFound;
    }
    const ZvkError_t error = QueryAvailable(available);
    if (error != ZvkErrorSuccess || !*available) {
        return error;
    }
    Outcome outcome;
    ArvGcFeatureNode* node = ARV_GC_FEATURE_NODE(entry);
    *available = arv_gc_feature_node_is_implemented(node, outcome.Slot()) != 0;
    if (!outcome.Failed() && *available) {
        *available = arv_gc_feature_node_is_available(node, outcome.Slot()) != 0;
    }
    return outcome.Code();
}

ZvkError_t NodeFeature::GetEntryValue(const char* name, std::int64_t* value) const
{
    if (type_ != ZvkFeatureDataEnum) {
        return ZvkErrorWrongType;
    }
    ArvGcEnumEntry* entry = FindEntry(name);
    if (entry == nullptr) {
        return ZvkErrorNotFound;
    }
    Outcome outcome;
    *value = arv_gc_enum_entry_get_value(entry, outcome.Slot());
    return outcome.Code();
}

ZvkError_t NodeFeature::GetEntryName(std::int64_t value, const char** name) const
{
    if (type_ != ZvkFeatureDataEnum) {
        return ZvkErrorWrongType;
    }
    const GSList* list = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node_));
    for (; list != nullptr; list = list->next) {
        Outcome outcome;
        if (arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(list->data), outcome.Slot()) != value ||
            outcome.Failed()) {
            continue;
        }
        *name = EntryName(ARV_GC_ENUM_ENTRY(list->data));
        return ZvkErrorSuccess;
    }
    return ZvkErrorNotFound;
}

ZvkError_t NodeFeature::GetEntryInfo(const char* name, ZvkFeatureInfo_t* info) const
{
    if (type_ != ZvkFeatureDataEnum) {
        return ZvkErrorWrongType;
    }
    ArvGcEnumEntry* entry = FindEntry(name);
    if (entry == nullptr) {
        return ZvkErrorNotFound;
    }
    *info = NodeFeature(ARV_GC_FEATURE_NODE(entry), category_, texts_).Info();
    info->featureDataType = ZvkFeatureDataNone;
    return ZvkErrorSuccess;
}

ZvkError_t NodeFeature::GetString(std::string* value) const
{
    const ZvkError_t error = CheckRead(ZvkFeatureDataString);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome outcome;
    const char* read = arv_gc_string_get_value(ARV_GC_STRING(node_), outcome.Slot());
    value->assign(read == nullptr ? "" : read);
    return outcome.Code();
}

ZvkError_t NodeFeature::SetString(const char* value)
{
    ZvkError_t error = CheckWrite(ZvkFeatureDataString);
    std::uint32_t limit = 0;
    if (error == ZvkErrorSuccess) {
        error = GetStringLimit(&limit);
    }
    if (error != ZvkErrorSuccess) {
        return error;
    }
    if (std::strlen(value) >= limit) {
        return ZvkErrorInvalidValue;
    }
    Outcome outcome;
    arv_gc_string_set_value(ARV_GC_STRING(node_), value, outcome.Slot());
    return outcome.Code();
}

ZvkError_t NodeFeature::GetStringLimit(std::uint32_t* bytes) const
{
    if (type_ != ZvkFeatureDataString) {
        return ZvkErrorWrongType;
    }
    Outcome outcome;
    const std::int64_t length = arv_gc_string_get_max_length(ARV_GC_STRING(node_), outcome.Slot());
    constexpr std::int64_t most = std::numeric_limits<std::uint32_t>::max();
    *bytes = static_cast<std::uint32_t>(std::clamp<std::int64_t>(length, 0, most));
    return outcome.Code();
}

ZvkError_t NodeFeature::Run()
{
    const ZvkError_t error = CheckWrite(ZvkFeatureDataCommand);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    Outcome outcome;
    arv_gc_command_execute(ARV_GC_COMMAND(node_), outcome.Slot());
    return outcome.Code();
}

// GenICam's rule: a command is done when its register no longer holds the value that started it. One that
// cannot be read tells nothing and counts as done.
ZvkError_t NodeFeature::IsDone(bool* done) const
{
    const ZvkError_t error = CheckType(ZvkFeatureDataCommand);
    if (error != ZvkErrorSuccess) {
        return error;
    }
    *done = true;
    ArvGcNode* const command = ARV_GC_NODE(node_);
    ArvGc* const description = arv_gc_node_get_genicam(command);
    const char* linked = ChildText(command, "pValue");
    ArvGcNode* value = linked == nullptr ? nullptr : arv_gc_get_node(description, linked);
    if (!ARV_IS_GC_INTEGER(value) ||
        arv_gc_feature_node_get_actual_access_mode(ARV_GC_FEATURE_NODE(value)) == ARV_GC_ACCESS_MODE_WO) {
        return ZvkErrorSuccess;
    }
    Outcome outcome;
    const std::int64_t started = CommandValue(command, description, &outcome);
    if (!outcome.Failed()) {
        *done = arv_gc_integer_get_value(ARV_GC_INTEGER(value), outcome.Slot()) != started;
    }
    return outcome.Code();
}

ZvkError_t NodeFeature::GetRaw(std::string* bytes) const
{
    ZvkError_t error = CheckRead(ZvkFeatureDataRaw);
    std::uint32_t length = 0;
    if (error == ZvkErrorSuccess) {
        error = GetRawLength(&length);
    }
    if (error != ZvkErrorSuccess) {
        return error;
    }
    bytes->resize(length);
    Outcome outcome;
    arv_gc_register_get(ARV_GC_REGISTER(node_), bytes->data(), length, outcome.Slot());
    return outcome.Code();
}

ZvkError_t NodeFeature::SetRaw(const char* bytes, std::uint32_t size)
{
    ZvkError_t error = CheckWrite(ZvkFeatureDataRaw);
    std::uint32_t length = 0;
    if (error == ZvkErrorSuccess) {
        error = GetRawLength(&length);
    }
    if (error != ZvkErrorSuccess) {
        return error;
    }
    if (size != length) {
        return ZvkErrorInvalidValue;
    }
    Outcome outcome;
    arv_gc_register_set(ARV_GC_REGISTER(node_), bytes, size, outcome.Slot());
    return outcome.Code();
}

ZvkError_t NodeFeature::GetRawLength(std::uint32_t* length) const
{
    if (type_ != ZvkFeatureDataRaw) {
        return ZvkErrorWrongType;
    }
    Outcome outcome;
    const std::uint64_t bytes = arv_gc_register_get_length(ARV_GC_REGISTER(node_), outcome.Slot());
    if (!outcome.Failed() && bytes > std::numeric_limits<std::uint32_t>::max()) {
        return ZvkErrorNotSupported;
    }
    *length = static_cast<std::uint32_t>(bytes);
    return outcome.Code();
}

} // namespace maravel::aravis
