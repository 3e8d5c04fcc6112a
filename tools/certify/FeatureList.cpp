// The list of a camera's features.
#include "Groups.h"
#include "Output.h"
#include "Session.h"

#include <cctype>
#include <set>

namespace maravel::certify::feature_list {

constexpr std::uint32_t kSize = sizeof(ZvkFeatureInfo_t);
constexpr int kListings = 5;

std::uint32_t CountOf(const Session& session)
{
    std::uint32_t count = 0;
    CERTIFY_OK(session.Sdk().ZvkFeaturesList(session.Camera(), nullptr, 0, &count, kSize));
    CERTIFY(count > 0, "the camera has no features");
    return count;
}

std::vector<ZvkFeatureInfo_t> ListOf(const Session& session, ZvkHandle_t handle)
{
    std::uint32_t count = 0;
    CERTIFY_OK(session.Sdk().ZvkFeaturesList(handle, nullptr, 0, &count, kSize));
    std::vector<ZvkFeatureInfo_t> list(count);
    CERTIFY_OK(session.Sdk().ZvkFeaturesList(handle, list.data(), count, &count, kSize));
    list.resize(std::min<std::size_t>(count, list.size()));
    return list;
}

std::string TextOf(const char* text)
{
    return text == nullptr ? "(null)" : text;
}

std::vector<std::string> NamesOf(const std::vector<ZvkFeatureInfo_t>& list)
{
    std::vector<std::string> names;
    for (const ZvkFeatureInfo_t& info : list) {
        names.push_back(TextOf(info.name) + ":" + std::to_string(info.featureDataType));
    }
    return names;
}

std::vector<std::string> TextsOf(const std::vector<ZvkFeatureInfo_t>& list)
{
    std::vector<std::string> texts;
    for (const ZvkFeatureInfo_t& info : list) {
        texts.push_back(TextOf(info.name) + "\n" + TextOf(info.description));
    }
    return texts;
}

bool IsIdentifier(const std::string& name)
{
    return !name.empty() && std::isdigit(static_cast<unsigned char>(name[0])) == 0 &&
           std::ranges::all_of(
               name, [](char c) { return c == '_' || std::isalnum(static_cast<unsigned char>(c)) != 0; });
}

// No output of the query is written.
void ExpectUnknown(const Session& session, const std::string& name)
{
    Output<ZvkBool_t> readable;
    Output<ZvkBool_t> writable;
    CERTIFY_REFUSED(
        session.Sdk().ZvkFeatureAccessQuery(session.Camera(), name.c_str(), readable.Get(), writable.Get()),
        ZvkErrorNotFound);
    CERTIFY(readable.IsUntouched() && writable.IsUntouched(), "it wrote an output");
    Output<std::int64_t> value;
    CERTIFY_REFUSED(session.Sdk().ZvkFeatureIntGet(session.Camera(), name.c_str(), value.Get()),
                    ZvkErrorNotFound);
    CERTIFY(value.IsUntouched(), "it wrote a value");
}

const Check kChecks[] = {
    {"E1", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const std::uint32_t count = CountOf(session);
         std::vector<ZvkFeatureInfo_t> room(count + 4);
         std::uint32_t found = 0;
         CERTIFY_OK(session.Sdk().ZvkFeaturesList(session.Camera(), room.data(), count + 4, &found, kSize));
         CERTIFY_EQUAL(count, found);
     }},
    {"E2", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const std::uint32_t count = CountOf(session);
         Output<ZvkFeatureInfo_t> list(count);
         std::uint32_t found = 0;
         CERTIFY_OK(session.Sdk().ZvkFeaturesList(session.Camera(), list.Get(), count, &found, kSize));
         CERTIFY_EQUAL(found, count);
         CERTIFY(list.WallsStand(), "it wrote past the array");
     }},
    {"E3", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const std::uint32_t count = CountOf(session);
         Output<ZvkFeatureInfo_t> list(count);
         std::uint32_t found = 0;
         CERTIFY_REFUSED(
             session.Sdk().ZvkFeaturesList(session.Camera(), list.Get(), count - 1, &found, kSize),
             ZvkErrorMoreData);
         CERTIFY(list.IsUntouched(count - 1) && list.WallsStand(), "it wrote past the array's length");
     }},
    {"E4", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const std::uint32_t count = CountOf(session);
         for (const std::uint32_t size : {0U, kSize - 8, kSize + 8}) {
             Output<ZvkFeatureInfo_t> list(count);
             std::uint32_t found = 0;
             CERTIFY_REFUSED(session.Sdk().ZvkFeaturesList(session.Camera(), list.Get(), count, &found, size),
                             ZvkErrorStructSize);
             CERTIFY(list.IsUntouched() && list.WallsStand(), "it wrote records of another size");
         }
     }},
    {"E5", Stage::Opened, Effect::Reads,
     [](Session& session) {
         std::set<std::string> names;
         for (const ZvkFeatureInfo_t& info : ListOf(session, session.Camera())) {
             CERTIFY(info.name != nullptr, "a feature has no name");
             CERTIFY(IsIdentifier(info.name), "'" << info.name << "' is no GenICam name");
             CERTIFY(names.insert(info.name).second, "two features are called " << info.name);
         }
     }},
    {"E6", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const auto first = NamesOf(ListOf(session, session.Camera()));
         for (int i = 0; i < kListings; ++i) {
             CERTIFY(NamesOf(ListOf(session, session.Camera())) == first, "names, types or order changed");
         }
     }},
    {"E7", Stage::Opened, Effect::Reads,
     [](Session& session) {
         for (const ZvkFeatureInfo_t& info : ListOf(session, session.Camera())) {
             if (info.featureDataType == ZvkFeatureDataUnknown || info.featureDataType > ZvkFeatureDataNone) {
                 session.Warn(TextOf(info.name) + " has the unknown type " +
                              std::to_string(info.featureDataType));
             }
         }
     }},
    {"E8", Stage::Opened, Effect::Reads,
     [](Session& session) {
         const auto list = ListOf(session, session.Camera());
         const auto before = TextsOf(list);
         for (int i = 0; i < kListings; ++i) {
             ListOf(session, session.Camera());
         }
         for (const Feature& feature : session.Features()) {
             session.Value(feature.name);
         }
         CERTIFY(TextsOf(list) == before, "a name or a description of the list changed");
     }},
    {"E9", Stage::Opened, Effect::Reads,
     [](Session& session) {
         Findings findings;
         for (const Feature& feature : session.Features()) {
             findings.About(feature.name, [&] {
                 Output<ZvkBool_t> readable;
                 Output<ZvkBool_t> writable;
                 CERTIFY_OK(session.Sdk().ZvkFeatureAccessQuery(session.Camera(), feature.name.c_str(),
                                                                readable.Get(), writable.Get()));
                 CERTIFY(!readable.IsUntouched() && !writable.IsUntouched(), "it wrote no answer");
             });
         }
         findings.Judge();
     }},
    {"E10", Stage::Opened, Effect::Reads, [](Session& session) { ExpectUnknown(session, "NoSuchFeature"); }},
    {"E11", Stage::Opened, Effect::Reads,
     [](Session& session) {
         for (const Feature& feature : session.Features()) {
             std::string name = feature.name;
             name[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[0])));
             if (session.Find(name) == nullptr) {
                 return ExpectUnknown(session, name);
             }
         }
         throw Skip{"no feature's name begins with a capital letter"};
     }},
    {"E12", Stage::Opened, Effect::Reads,
     [](Session& session) {
         Findings findings;
         for (const auto& [name, handle] :
              {std::pair{"stream", session.Stream()}, {"transport layer", session.TransportLayer()}}) {
             if (handle != nullptr) {
                 findings.About(name, [&, module = handle] {
                     for (const ZvkFeatureInfo_t& info : ListOf(session, module)) {
                         CERTIFY(info.name != nullptr, "a feature has no name");
                     }
                 });
             }
         }
         findings.Judge("the camera has no stream and no transport layer");
     }},
};

const Group kGroup{'E', kChecks};

} // namespace maravel::certify::feature_list
