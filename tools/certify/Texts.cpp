// Texts, booleans and commands of a camera.
#include "Frames.h"
#include "Groups.h"
#include "Values.h"

#include <cstring>
#include <string_view>

namespace maravel::certify::texts {

constexpr std::uint32_t kRoom = 8192;                    // for any text
constexpr std::chrono::milliseconds kAdapterWaits{1000}; // for a command to be done

// Commands that leave nothing behind, wherever they are.
constexpr const char* kHarmless[] = {"TimestampLatch", "GevTimestampControlLatch", "CounterReset",
                                     "TimerReset"};

ZvkError_t Read(const Session& session, const std::string& name, Memory& buffer, std::uint32_t* length)
{
    return session.Sdk().ZvkFeatureStringGet(session.Camera(), name.c_str(),
                                             reinterpret_cast<char*>(buffer.Data()),
                                             static_cast<std::uint32_t>(buffer.Size()), length);
}

std::string TextIn(const Memory& buffer)
{
    const auto* begin = reinterpret_cast<const char*>(buffer.Data());
    const void* end = std::memchr(begin, 0, buffer.Size());
    CERTIFY(end != nullptr, "the text has no end");
    CERTIFY(buffer.WallsStand(), "it wrote past the buffer");
    return {begin, static_cast<const char*>(end)};
}

std::string Get(const Session& session, const std::string& name)
{
    Memory buffer(kRoom);
    std::uint32_t length = 0;
    CERTIFY_OK(Read(session, name, buffer, &length));
    return TextIn(buffer);
}

ZvkError_t Set(const Session& session, const std::string& name, const std::string& text)
{
    return session.Sdk().ZvkFeatureStringSet(session.Camera(), name.c_str(), text.c_str());
}

std::vector<std::string> Texts(const Session& session)
{
    return session.FeaturesOf(ZvkFeatureDataString, "r");
}

std::vector<std::string> SettableTexts(const Session& session)
{
    std::vector<std::string> names = SettableOf(session, ZvkFeatureDataString);
    if (names.empty()) {
        throw NotSupported{"the camera has no text that may be set for a while"};
    }
    return names;
}

// A text is taken as it is, or refused and the old one kept.
void ExpectWholeOrNot(const Session& session, const std::string& text)
{
    ForEach(SettableTexts(session), [&](const std::string& name) {
        const Kept kept(session, name);
        const bool isTaken = Set(session, name, text) == 0;
        const std::string now = Get(session, name);
        CERTIFY(now == (isTaken ? text : kept.Value()),
                "a text of " << text.size() << " bytes was " << (isTaken ? "accepted" : "refused")
                             << ", and it is '" << now.substr(0, 40) << "'");
    });
}

bool GetBool(const Session& session, const std::string& name)
{
    ZvkBool_t value = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureBoolGet(session.Camera(), name.c_str(), &value));
    return value != 0;
}

ZvkError_t SetBool(const Session& session, const std::string& name, bool value)
{
    return session.Sdk().ZvkFeatureBoolSet(session.Camera(), name.c_str(), value ? 1 : 0);
}

ZvkError_t Run(const Session& session, const std::string& name)
{
    return session.Sdk().ZvkFeatureCommandRun(session.Camera(), name.c_str());
}

std::vector<std::string> HarmlessOf(const Session& session)
{
    std::vector<std::string> names = session.FeaturesOf(ZvkFeatureDataCommand, "w");
    std::erase_if(names, [](const std::string& name) {
        return std::ranges::find(kHarmless, name) == std::end(kHarmless);
    });
    return names;
}

void AwaitDone(Session& session, const std::string& name)
{
    const auto end = std::chrono::steady_clock::now() + kAdapterWaits;
    for (;;) {
        Output<ZvkBool_t> done;
        CERTIFY_OK(session.Sdk().ZvkFeatureCommandIsDone(session.Camera(), name.c_str(), done.Get()));
        CERTIFY(!done.IsUntouched() && done.WallsStand(), "there is no answer of one byte");
        if (*done != 0) {
            return;
        }
        if (std::chrono::steady_clock::now() > end) {
            return session.Warn(name + " is not done after 1 s");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// Getters of all types, asked for a command.
void ExpectNoValue(const Session& session, const std::string& name)
{
    const Sdk& sdk = session.Sdk();
    const ZvkHandle_t camera = session.Camera();
    Output<std::int64_t> whole;
    CERTIFY_REFUSED(sdk.ZvkFeatureIntGet(camera, name.c_str(), whole.Get()), ZvkErrorWrongType);
    Output<double> real;
    CERTIFY_REFUSED(sdk.ZvkFeatureFloatGet(camera, name.c_str(), real.Get()), ZvkErrorWrongType);
    Output<const char*> entry;
    CERTIFY_REFUSED(sdk.ZvkFeatureEnumGet(camera, name.c_str(), entry.Get()), ZvkErrorWrongType);
    Output<ZvkBool_t> flag;
    CERTIFY_REFUSED(sdk.ZvkFeatureBoolGet(camera, name.c_str(), flag.Get()), ZvkErrorWrongType);
    Memory text(64);
    std::uint32_t length = 0;
    CERTIFY_REFUSED(Read(session, name, text, &length), ZvkErrorWrongType);
    CERTIFY(whole.IsUntouched() && real.IsUntouched() && entry.IsUntouched() && flag.IsUntouched() &&
                text.IsUntouched(),
            "it wrote a value");
}

bool IsWritable(const Session& session, const char* name)
{
    ZvkBool_t readable = 0;
    ZvkBool_t writable = 0;
    CERTIFY_OK(session.Sdk().ZvkFeatureAccessQuery(session.Camera(), name, &readable, &writable));
    return writable != 0;
}

// While a line is the source of triggers.
void ExpectSoftwareTriggerRefused(const Session& session)
{
    if (session.Find("TriggerSoftware") == nullptr || session.Find("TriggerSource") == nullptr) {
        throw NotSupported{"the camera has no TriggerSoftware that depends on TriggerSource"};
    }
    const Kept kept(session, "TriggerSource");
    for (const std::string& entry : session.EntriesOf("TriggerSource")) {
        if (entry != "Software" && session.SetValue("TriggerSource", entry).empty()) {
            break;
        }
    }
    if (IsWritable(session, "TriggerSoftware")) {
        throw NotSupported{"TriggerSoftware can always be run"};
    }
    CERTIFY_REFUSED(Run(session, "TriggerSoftware"), ZvkErrorInvalidAccess);
}

const Check kChecks[] = {
    {"I1", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(Texts(session), [&](const std::string& name) {
             const std::string text = Get(session, name);
             Memory exact(text.size() + 1);
             std::uint32_t length = 0;
             CERTIFY_OK(Read(session, name, exact, &length));
             CERTIFY_EQUAL(TextIn(exact), text);
         });
     }},
    {"I2", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(Texts(session), [&](const std::string& name) {
             const std::string text = Get(session, name);
             if (text.empty()) {
                 return;
             }
             Memory small(text.size());
             std::uint32_t length = 0;
             const ZvkError_t result = Read(session, name, small, &length);
             CERTIFY(small.WallsStand(), "it wrote past the buffer");
             CERTIFY_REFUSED(result, ZvkErrorMoreData);
         });
     }},
    {"I3", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(Texts(session), [&](const std::string& name) {
             Memory buffer(kRoom);
             Output<std::uint32_t> length;
             CERTIFY_OK(Read(session, name, buffer, length.Get()));
             const std::size_t size = TextIn(buffer).size();
             CERTIFY(*length == size || *length == size + 1,
                     "a text of " << size << " bytes is said to have " << *length);
         });
     }},
    {"I4", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(SettableTexts(session), [&](const std::string& name) {
             const std::string text = Get(session, name);
             CERTIFY_OK(Set(session, name, text));
             CERTIFY_EQUAL(Get(session, name), text);
         });
         ExpectWholeOrNot(session, "A1");
     }},
    {"I5", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ExpectWholeOrNot(session, std::string(255, 'a'));
         ExpectWholeOrNot(session, std::string(4096, 'b'));
     }},
    {"I6", Stage::Opened, Effect::Writes,
     [](Session& session) { ExpectWholeOrNot(session, "Gr\xC3\xBC\xC3\x9F"); }},
    {"I7", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(ReadOnlyOf(session, ZvkFeatureDataString), [&](const std::string& name) {
             CERTIFY_REFUSED(Set(session, name, Get(session, name)), ZvkErrorInvalidAccess);
         });
     }},
    {"I8", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(SettableOf(session, ZvkFeatureDataBool), [&](const std::string& name) {
             const Kept kept(session, name);
             const bool before = GetBool(session, name);
             for (const bool value : {!before, before}) {
                 CERTIFY_OK(SetBool(session, name, value));
                 CERTIFY_EQUAL(GetBool(session, name), value);
             }
         });
     }},
    {"I9", Stage::Opened, Effect::Writes,
     [](Session& session) {
         ForEach(ReadOnlyOf(session, ZvkFeatureDataBool), [&](const std::string& name) {
             CERTIFY_REFUSED(SetBool(session, name, GetBool(session, name)), ZvkErrorInvalidAccess);
         });
     }},
    {"I10", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 2);
         frames.Start();
         frames.Stop();
         Findings findings;
         for (const std::string& name : HarmlessOf(session)) {
             findings.About(name, [&] { CERTIFY_OK(Run(session, name)); });
         }
         if (findings.Asked() > 0) {
             findings.Judge();
         }
     }},
    {"I11", Stage::Opened, Effect::Writes,
     [](Session& session) {
         Frames frames(session, 2);
         frames.Start();
         frames.Stop();
         AwaitDone(session, "AcquisitionStop");
         for (const std::string& name : HarmlessOf(session)) {
             if (Run(session, name) == 0) {
                 AwaitDone(session, name);
             }
         }
     }},
    {"I12", Stage::Opened, Effect::Writes, [](Session& session) { ExpectSoftwareTriggerRefused(session); }},
    {"I13", Stage::Opened, Effect::Writes,
     [](Session& session) {
         std::vector<std::string> names;
         for (const Feature& feature : session.Features()) {
             if (feature.readable && feature.type != ZvkFeatureDataCommand) {
                 names.push_back(feature.name);
             }
         }
         ForEach(names,
                 [&](const std::string& name) { CERTIFY_REFUSED(Run(session, name), ZvkErrorWrongType); });
     }},
    {"I14", Stage::Opened, Effect::Reads,
     [](Session& session) {
         ForEach(session.FeaturesOf(ZvkFeatureDataCommand),
                 [&](const std::string& name) { ExpectNoValue(session, name); });
     }},
};

const Group kGroup{'I', kChecks};

} // namespace maravel::certify::texts
