// The SDK folder, and binding its two libraries.
#include "Groups.h"
#include "Output.h"
#include "Process.h"
#include "Sdk.h"
#include "Session.h"
#include "diagnosis/LibraryFile.h"
#include "diagnosis/Machine.h"
#include "host/Utf8Path.h"

namespace maravel::certify {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFiles[] = {kRuntimeFile, kTransformFile};
constexpr std::uint32_t kOldestMajor = 1; // of the runtime library that has all entry points
constexpr std::uintmax_t kLargestCopy = 512u << 20;
constexpr int kLoads = 50;
constexpr int kSettledLoads = 10; // until then a system keeps something for the next time
constexpr std::uint64_t kMemoryNoise = 4u << 20;
constexpr std::uint64_t kHandleNoise = 4;

fs::path FileOf(const Session& session, const char* name)
{
    return session.Asked().sdk / "bin" / name;
}

void CheckEntries(Session& session, const char* file, std::span<const char* const> names)
{
    const LoadedLibrary library(FileOf(session, file));
    Findings findings;
    for (const char* name : names)
        findings.About(name, [&] { CERTIFY(library.Find(name) != nullptr, "it is missing"); });
    findings.Judge();
}

std::uintmax_t SizeOf(const fs::path& folder)
{
    std::uintmax_t size = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        size += entry.is_regular_file() ? entry.file_size() : 0;
    return size;
}

// Loads the SDK while the working folder is another one.
void LoadFrom(const fs::path& sdk, const fs::path& workingFolder)
{
    const fs::path before = fs::current_path();
    fs::current_path(workingFolder);
    try {
        const Sdk bound(fs::absolute(sdk));
    }
    catch (...) {
        fs::current_path(before);
        throw;
    }
    fs::current_path(before);
}

const Check kChecks[] = {
    {"A1", Stage::Folder, Effect::Reads,
     [](Session& session) {
         CERTIFY(fs::is_directory(session.Asked().sdk), host::TextOf(session.Asked().sdk) << " is no folder");
         for (const char* name : kFiles)
             CERTIFY(fs::is_regular_file(FileOf(session, name)), host::TextOf(FileOf(session, name))
                                                                     << " is missing");
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
             for (const std::string& needed : diagnosis::InspectLibrary(path).needs)
                 CERTIFY(diagnosis::CanFindLibrary(needed, path.parent_path()),
                         name << " needs " << needed << ", which is missing");
         }
     }},
    {"A4", Stage::Folder, Effect::Reads,
     [](Session& session) { LoadFrom(session.Asked().sdk, session.Asked().folder); }},
    {"A5", Stage::Folder, Effect::Reads,
     [](Session& session) {
         if (SizeOf(session.Asked().sdk) > kLargestCopy)
             throw Skip{"the SDK folder is too large to be copied"};
         const fs::path copy = session.Asked().folder / host::PathOf("SDK mit Blank und \xC3\xBC");
         fs::copy(session.Asked().sdk, copy, fs::copy_options::recursive | fs::copy_options::update_existing);
         LoadFrom(copy, session.Asked().folder);
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
         ZvkVersionInfo_t version{};
         session.Sdk().ZvkVersionQuery(&version, sizeof(version));
         session.Tell("version " + std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
                      std::to_string(version.patch));
         CERTIFY(version.major >= kOldestMajor, "the version is " << version.major << "." << version.minor);
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
         for (const char* name : kFiles) {
             const LoadedLibrary library(FileOf(session, name));
         }
         const LoadedLibrary again(FileOf(session, kRuntimeFile));
         CERTIFY(again.Find("ZvkVersionQuery") != nullptr, "it is not whole when loaded again");
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
         CERTIFY(MemoryInUse() <= memory + kMemoryNoise, "memory grew by "
                                                             << (MemoryInUse() - memory) / 1024 << " KiB in "
                                                             << kLoads - kSettledLoads << " loads");
         CERTIFY(ThreadsInUse() <= threads, ThreadsInUse() - threads << " threads stayed");
         CERTIFY(HandlesInUse() <= handles + kHandleNoise, HandlesInUse() - handles << " handles stayed");
     }},
};

} // namespace

const Group kFolderGroup{'A', kChecks};

} // namespace maravel::certify
