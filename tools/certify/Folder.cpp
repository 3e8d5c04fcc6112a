// The SDK folder, and binding its two libraries.
#include "Groups.h"
#include "Output.h"
#include "Process.h"
#include "Sdk.h"
#include "Session.h"
#include "diagnosis/LibraryFile.h"
#include "diagnosis/Machine.h"
#include "host/Utf8Path.h"

namespace maravel::certify::folder {

namespace fs = std::filesystem;

constexpr const char* kFiles[] = {kRuntimeFile, kTransformFile};
constexpr std::uintmax_t kLargestCopy = 512u << 20;
constexpr int kLoads = 50;
constexpr int kSettledLoads = 10; // until then a system keeps something for the next time
constexpr std::uint64_t kHandleNoise = 4;

fs::path FileOf(const Session& session, const char* name)
{
    return session.Asked().sdk / "bin" / name;
}

void CheckEntries(Session& session, const char* file, std::span<const char* const> names)
{
    const LoadedLibrary library(FileOf(session, file));
    Findings findings;
    for (const char* name : names) {
        findings.About(name, [&] { CERTIFY(library.Find(name) != nullptr, "it is missing"); });
    }
    findings.Judge();
}

std::uintmax_t SizeOf(const fs::path& folder)
{
    std::uintmax_t size = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        size += entry.is_regular_file() ? entry.file_size() : 0;
    }
    return size;
}

// Another working folder while the object lives.
class WorkingFolder
{
public:
    explicit WorkingFolder(const fs::path& folder) : before_(fs::current_path()) { fs::current_path(folder); }
    ~WorkingFolder()
    {
        std::error_code error; // it may be gone; the next check that needs one tells
        fs::current_path(before_, error);
    }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

private:
    const fs::path before_;
};

std::string VersionOf(const Sdk& sdk)
{
    ZvkVersionInfo_t version{};
    CERTIFY_OK(sdk.ZvkVersionQuery(&version, sizeof(version)));
    return std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
           std::to_string(version.patch);
}

const Check kChecks[] = {
    {"A1", Stage::Folder, Effect::Reads,
     [](Session& session) {
         CERTIFY(fs::is_directory(session.Asked().sdk), host::TextOf(session.Asked().sdk) << " is no folder");
         for (const char* name : kFiles) {
             CERTIFY(fs::is_regular_file(FileOf(session, name)), host::TextOf(FileOf(session, name))
                                                                     << " is missing");
         }
     }},
    {"A2", Stage::Folder, Effect::Reads,
     [](Session& session) {
         for (const char* name : kFiles) {
             const diagnosis::LibraryFile file = diagnosis::InspectLibrary(FileOf(session, name));
             CERTIFY(file.kind == diagnosis::NativeLibraryKind() && file.sixtyFour,
                     name << ": " << diagnosis::ComplaintOf(file));
         }
     }},
    {"A3", Stage::Folder, Effect::Reads,
     [](Session& session) {
         for (const char* name : kFiles) {
             const fs::path path = FileOf(session, name);
             for (const std::string& needed : diagnosis::InspectLibrary(path).needs) {
                 CERTIFY(diagnosis::CanFindLibrary(needed, path.parent_path()),
                         name << " needs " << needed << ", which is missing");
             }
             const LoadedLibrary loads(path); // where the system alone knows what is missing
         }
     }},
    {"A4", Stage::Folder, Effect::Reads,
     [](Session& session) {
         const WorkingFolder elsewhere(session.Asked().folder);
         const Sdk sdk(session.Asked().sdk);
         VersionOf(sdk);
     }},
    {"A5", Stage::Folder, Effect::Reads,
     [](Session& session) {
         if (SizeOf(session.Asked().sdk) > kLargestCopy) {
             throw Skip{"the SDK folder is too large to be copied"};
         }
         const fs::path copy = session.Asked().folder / host::PathOf("SDK mit Blank und \xC3\xBC");
         fs::remove_all(copy); // of a run of this check that crashed
         fs::copy(session.Asked().sdk, copy, fs::copy_options::recursive);
         const Sdk sdk(copy);
         CERTIFY_OK(sdk.ZvkStartup(nullptr)); // with whatever files it reads then
         sdk.ZvkShutdown();
     }},
    {"A6", Stage::Folder, Effect::Reads,
     [](Session& session) { CheckEntries(session, kRuntimeFile, RuntimeEntryNames()); }},
    {"A7", Stage::Folder, Effect::Reads,
     [](Session& session) { CheckEntries(session, kTransformFile, TransformEntryNames()); }},
    {"A8", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         Output<ZvkVersionInfo_t> version;
         CERTIFY_OK(session.Sdk().ZvkVersionQuery(version.Get(), sizeof(ZvkVersionInfo_t)));
         CERTIFY(version.WallsStand(), "it wrote past the record");
         CERTIFY(!version.IsUntouched(), "it wrote no version");
     }},
    {"A9", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         for (const std::uint32_t size : {0U, 8U, 16U}) {
             Output<ZvkVersionInfo_t> version(2);
             CERTIFY_REFUSED(session.Sdk().ZvkVersionQuery(version.Get(), size), ZvkErrorStructSize);
             CERTIFY(version.IsUntouched(), "it wrote a record of another size");
         }
     }},
    {"A10", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         CERTIFY_REFUSED(session.Sdk().ZvkVersionQuery(nullptr, sizeof(ZvkVersionInfo_t)),
                         ZvkErrorBadParameter);
     }},
    {"A11", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         const std::string before = VersionOf(session.Sdk());
         session.Reach(Stage::Started);
         CERTIFY_EQUAL(VersionOf(session.Sdk()), before);
         session.Tell("version " + before);
         CERTIFY(before != "0.0.0", "the library does not know its version");
     }},
    {"A12", Stage::Loaded, Effect::Reads,
     [](Session& session) {
         std::uint32_t packed = 0;
         CERTIFY_OK(session.Sdk().ZvkGetImageTransformVersion(&packed));
         const std::uint32_t major = packed >> 24;
         session.Tell("version " + std::to_string(major) + "." + std::to_string(packed >> 16 & 0xFF) + "." +
                      std::to_string(packed >> 8 & 0xFF) + "." + std::to_string(packed & 0xFF));
         CERTIFY(major >= 1 && major < 100, "the packed version's highest byte is " << major);
     }},
    {"A13", Stage::Folder, Effect::Reads,
     [](Session& session) {
         const auto versionAfterLoading = [&] { return VersionOf(Sdk(session.Asked().sdk)); };
         const std::string first = versionAfterLoading();
         CERTIFY_EQUAL(versionAfterLoading(), first);
     }},
    {"A14", Stage::Folder, Effect::Reads,
     [](Session& session) {
         std::uint64_t memory = 0;
         std::uint64_t threads = 0;
         std::uint64_t handles = 0;
         for (int i = 0; i < kLoads; ++i) {
             {
                 const Sdk sdk(session.Asked().sdk);
                 ZvkVersionInfo_t version{};
                 sdk.ZvkVersionQuery(&version, sizeof(version));
             }
             if (i == kSettledLoads) {
                 memory = MemoryInUse();
                 threads = ThreadsInUse();
                 handles = HandlesInUse();
             }
         }
         CERTIFY(MemoryInUse() <= memory + session.Asked().loadMemory,
                 "memory grew by " << (MemoryInUse() - memory) / 1024 << " KiB in " << kLoads - kSettledLoads
                                   << " loads");
         CERTIFY(ThreadsInUse() <= threads, ThreadsInUse() - threads << " threads stayed");
         CERTIFY(HandlesInUse() <= handles + kHandleNoise, HandlesInUse() - handles << " handles stayed");
     }},
};

const Group kGroup{'A', kChecks};

} // namespace maravel::certify::folder
