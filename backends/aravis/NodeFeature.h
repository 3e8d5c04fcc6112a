// A feature of the camera itself: a node of its GenICam description.
#pragma once

#include "Feature.h"
#include "GObjects.h"
#include "TextStore.h"

namespace maravel::aravis {

// Made for one call; the node and the store outlive it. Reads and writes the camera at every operation.
class NodeFeature final : public Feature
{
public:
    NodeFeature(ArvGcFeatureNode* node, const char* category, TextStore& texts)
        : NodeFeature(node, arv_gc_feature_node_get_name(node), category, texts)
    {
    }
    // Under another name than the node's.
    NodeFeature(ArvGcFeatureNode* node, const char* name, const char* category, TextStore& texts)
        : node_(node), name_(name), category_(category), texts_(texts), type_(TypeOf(node))
    {
    }

    static ZvkFeatureDataType TypeOf(ArvGcFeatureNode* node);

    ZvkFeatureInfo_t Info() const override;
    ZvkError_t QueryAccess(bool* readable, bool* writable) const override;
    std::vector<ZvkFeatureInfo_t> Selected() const override;

    ZvkError_t GetInt(std::int64_t* value) const override;
    ZvkError_t SetInt(std::int64_t value) override;
    ZvkError_t GetIntRange(std::int64_t* minimum, std::int64_t* maximum) const override;
    ZvkError_t GetIntIncrement(std::int64_t* increment) const override;

    ZvkError_t GetFloat(double* value) const override;
    ZvkError_t SetFloat(double value) override;
    ZvkError_t GetFloatRange(double* minimum, double* maximum) const override;
    ZvkError_t GetFloatIncrement(double* increment) const override;

    ZvkError_t GetEnum(const char** value) const override;
    ZvkError_t SetEnum(const char* value) override;
    ZvkError_t GetEntries(std::vector<const char*>* entries) const override;
    ZvkError_t IsEntryAvailable(const char* entry, bool* available) const override;
    ZvkError_t GetEntryValue(const char* entry, std::int64_t* value) const override;
    ZvkError_t GetEntryName(std::int64_t value, const char** entry) const override;
    ZvkError_t GetEntryInfo(const char* entry, ZvkFeatureInfo_t* info) const override;

    ZvkError_t GetString(std::string* value) const override;
    ZvkError_t SetString(const char* value) override;
    ZvkError_t GetStringLimit(std::uint32_t* bytes) const override;

    ZvkError_t GetBool(bool* value) const override;
    ZvkError_t SetBool(bool value) override;

    ZvkError_t Run() override;
    ZvkError_t IsDone(bool* done) const override;

    ZvkError_t GetRaw(std::string* bytes) const override;
    ZvkError_t SetRaw(const char* bytes, std::uint32_t size) override;
    ZvkError_t GetRawLength(std::uint32_t* length) const override;

private:
    ZvkError_t CheckType(ZvkFeatureDataType type) const;
    ZvkError_t CheckRead(ZvkFeatureDataType type) const;
    ZvkError_t CheckWrite(ZvkFeatureDataType type) const;
    // Available and implemented; an error when the camera cannot be asked.
    ZvkError_t QueryAvailable(bool* available) const;
    ArvGcEnumEntry* FindEntry(const char* name) const;
    const char* EntryName(ArvGcEnumEntry* entry) const;

    ArvGcFeatureNode* const node_;
    const char* const name_;
    const char* const category_;
    TextStore& texts_;
    const ZvkFeatureDataType type_;
};

// The features of a camera that is open.
class NodeModule final : public Module
{
public:
    // Walks the description once. The device and the store outlive the object.
    NodeModule(ArvDevice* device, TextStore& texts);

    std::vector<ZvkFeatureInfo_t> List() const override;
    std::unique_ptr<Feature> Find(const char* name) const override;

private:
    struct Entry
    {
        ArvGcFeatureNode* node;
        const char* name;
        const char* category;
    };
    void AddStandardRegisters();
    void Walk(ArvGcNode* node, const std::string& path, int depth);

    ArvDevice* const device_;
    TextStore& texts_;
    std::vector<Entry> entries_;
};

} // namespace maravel::aravis
