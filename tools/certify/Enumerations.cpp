// Enumerations of a camera.
#include "Groups.h"
#include "Output.h"
#include "Values.h"

#include <set>

namespace maravel::certify::enumerations {

constexpr const char* kNoEntry = "NoSuchEntry";

const char* Get(const Session& session, const std::string& name)
{
    const char* value = nullptr;
    CERTIFY_OK(session.Sdk().ZvkFeatureEnumGet(session.Camera(), name.c_str(), &value));
    CERTIFY(value != nullptr, "it has a null value");
    return value;
}

ZvkError_t Set(const Session& session, const std::string& name, const std::string& entry)
{
    return session.Sdk().ZvkFeatureEnumSet(session.Camera(), name.c_str(), entry.c_str());
}

std::vector<std::string> Readable(const Session& session)
{
    return session.FeaturesOf(ZvkFeatureDataEnum, "r");
}

bool Has(const std::vector<std::string>& entries, const std::string& entry)
{
    return std::ranges::find(entries, entry) != entries.end();
}

// Lists of the exact length, a longer one and a shorter one.
void ExpectListed(const Session& session, const std::string& name)
{
    const auto list = [&](Output<const char*>& entries, std::uint32_t length, std::uint32_t* found) {
        return session.Sdk().ZvkFeatureEnumRangeQuery(session.Camera(), name.c_str(), entries.Get(), length,
                                                      found);
    };
    std::uint32_t count = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureEnumRangeQuery(session.Camera(), name.c_str(), nullptr, 0, &count));
    CERTIFY(count > 0, "it has no entries");
    std::uint32_t found = 0;
    Output<const char*> entries(count + 2);
    CERTIFY_OK(list(entries, count + 2, &found));
    CERTIFY_EQUAL(found, count);
    CERTIFY(entries.IsUntouched(count) && entries.WallsStand(), "it wrote past the last entry");
    Output<const char*> exact(count);
    CERTIFY_OK(list(exact, count, &found));
    CERTIFY_EQUAL(found, count);
    if (count == 1) {
        return; // an array of length 0 only counts
    }
    Output<const char*> small(count);
    CERTIFY_REFUSED(list(small, count - 1, &found), ZvkErrorMoreData);
    CERTIFY(small.IsUntouched(count - 1), "it wrote past the array's length");
}

const Check kChecks[] = {
    {"H1", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(Readable(session), [&](const std::string& name) {
             const std::string value = Get(session, name);
             CERTIFY(Has(session.EntriesOf(name, false), value), "'" << value << "' is none of its entries");
         });
     }},
    {"H2", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(Readable(session), [&](const std::string& name) { ExpectListed(session, name); });
     }},
    {"H3", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(Readable(session), [&](const std::string& name) {
             std::set<std::string> entries;
             for (const std::string& entry : session.EntriesOf(name, false)) {
                 CERTIFY(!entry.empty(), "an entry has no name");
                 CERTIFY(entries.insert(entry).second, "two entries are called " << entry);
             }
         });
     }},
    {"H4", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(Readable(session), [&](const std::string& name) {
             for (const std::string& entry : session.EntriesOf(name, false)) {
                 Output<ZvkBool_t> available;
                 CERTIFY_OK(session.Sdk().ZvkFeatureEnumIsAvailable(session.Camera(), name.c_str(),
                                                                    entry.c_str(), available.Get()));
                 CERTIFY(!available.IsUntouched(), "there is no answer for " << entry);
             }
         });
     }},
    {"H5", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(Readable(session), [&](const std::string& name) {
             const std::string value = Get(session, name);
             ZvkBool_t available = 0;
             CERTIFY_OK(session.Sdk().ZvkFeatureEnumIsAvailable(session.Camera(), name.c_str(), value.c_str(),
                                                                &available));
             CERTIFY(available != 0, "its value " << value << " is said not to be available");
         });
     }},
    {"H6", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(SettableOf(session, ZvkFeatureDataEnum), [&](const std::string& name) {
             const Kept kept(session, name);
             for (const std::string& entry : session.EntriesOf(name)) {
                 const ZvkError_t result = Set(session, name, entry);
                 CERTIFY(result == 0, entry << " cannot be set: " << certify::NameOf(result));
                 const std::string now = Get(session, name);
                 // What is done once is off afterwards.
                 CERTIFY(now == entry || (entry == "Once" && now == "Off"),
                         "it is " << now << " after " << entry << " was set");
             }
         });
     }},
    {"H7", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Findings findings;
         for (const std::string& name : SettableOf(session, ZvkFeatureDataEnum)) {
             const auto available = session.EntriesOf(name);
             for (const std::string& entry : session.EntriesOf(name, false)) {
                 if (Has(available, entry)) {
                     continue;
                 }
                 findings.About(name + " " + entry, [&] {
                     const Kept kept(session, name);
                     CERTIFY_REFUSED(Set(session, name, entry), ZvkErrorInvalidValue);
                     CERTIFY_EQUAL(std::string(Get(session, name)), kept.Value());
                 });
             }
         }
         findings.Judge("every entry is available");
     }},
    {"H8", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(SettableOf(session, ZvkFeatureDataEnum), [&](const std::string& name) {
             const Kept kept(session, name);
             const ZvkError_t result = Set(session, name, kNoEntry);
             CERTIFY(result < 0, "an entry that there is not could be set");
             CERTIFY_EQUAL(std::string(Get(session, name)), kept.Value());
         });
     }},
    {"H9", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(Readable(session), [&](const std::string& name) {
             std::set<std::int64_t> numbers;
             for (const std::string& entry : session.EntriesOf(name)) {
                 std::int64_t number = 0;
                 CERTIFY_OK(session.Sdk().ZvkFeatureEnumAsInt(session.Camera(), name.c_str(), entry.c_str(),
                                                              &number));
                 CERTIFY(numbers.insert(number).second,
                         entry << " has the number " << number << " of another entry");
             }
         });
     }},
    {"H10", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(ReadOnlyOf(session, ZvkFeatureDataEnum), [&](const std::string& name) {
             CERTIFY_REFUSED(Set(session, name, Get(session, name)), ZvkErrorInvalidAccess);
         });
     }},
    {"H11", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(Readable(session), [&](const std::string& name) {
             const Sdk& sdk = session.Sdk();
             const ZvkHandle_t camera = session.Camera();
             const std::string value = Get(session, name);
             CERTIFY_REFUSED(sdk.ZvkFeatureEnumGet(camera, name.c_str(), nullptr), ZvkErrorBadParameter);
             CERTIFY_REFUSED(sdk.ZvkFeatureEnumSet(camera, name.c_str(), nullptr), ZvkErrorBadParameter);
             CERTIFY_REFUSED(sdk.ZvkFeatureEnumRangeQuery(camera, name.c_str(), nullptr, 0, nullptr),
                             ZvkErrorBadParameter);
             CERTIFY_REFUSED(sdk.ZvkFeatureEnumIsAvailable(camera, name.c_str(), value.c_str(), nullptr),
                             ZvkErrorBadParameter);
             CERTIFY_REFUSED(sdk.ZvkFeatureEnumAsInt(camera, name.c_str(), value.c_str(), nullptr),
                             ZvkErrorBadParameter);
         });
     }},
};

const Group kGroup{'H', kChecks};

} // namespace maravel::certify::enumerations
