// The adapter in the long run: released, started again, unloaded, in other places and with company.
#include "Groups.h"
#include "Images.h"
#include "Process.h"
#include "camhost/OwnLog.h"
#include "diagnosis/LogFile.h"
#include "host/Utf8Path.h"

#include <limits>
#include <thread>

namespace maravel::certify::robustness {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr int kRestarts = 4;
constexpr int kSettledRestarts = 1;
constexpr std::uint64_t kHandleNoise = 4; // the system's own libraries open some late
constexpr std::size_t kLongPath = 200;
constexpr std::uintmax_t kLargestCopy = 256U << 20;

void StreamOne(const Session& session)
{
    Acquisition acquisition(session);
    acquisition.Next();
    acquisition.Stop();
}

std::size_t HandOutAll(const Session& session)
{
    for (std::size_t count = 0;; ++count) {
        VideoChannelDescriptor descriptor{};
        descriptor.structSize = sizeof(descriptor);
        if (!session.HandOut(count, &descriptor)) {
            return count;
        }
    }
}

// What this process held, and that it holds no more later.
class Holdings
{
public:
    void ExpectNoMore(const Session& session) const
    {
        const std::uint64_t memory = MemoryInUse();
        CERTIFY(memory <= memory_ + session.Asked().loadMemory,
                "memory grew by " << (memory - memory_) / 1024 << " KiB");
        CERTIFY(HandlesInUse() <= handles_ + kHandleNoise, HandlesInUse() - handles_ << " handles stayed");
    }

private:
    const std::uint64_t memory_ = MemoryInUse();
    const std::uint64_t handles_ = HandlesInUse();
};

const Check kChecks[] = {
    {"R1", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         Read(session.Channel(), "Width"); // opens
         const host::Outcome release = session.Channel().Release();
         CERTIFY(release.ok, "the release is refused: " << release.text);
         std::string value;
         for (const host::Channel& channel : session.Channels()) {
             const host::Outcome read = channel.ReadValue("Width", &value);
             CERTIFY(!read.ok && !read.text.empty(), "a channel works after the last open one was released");
             CERTIFY_EQUAL(channel.QueryImageStatus(), std::uint32_t{ImageStatusUnavailable});
         }
         session.Leave();
     }},
    {"R2", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         Read(session.Channel(), "Width"); // opens
         session.Channel().Release();
         CERTIFY_EQUAL(HandOutAll(session), session.Channels().size());
         StreamOne(session);
     }},
    {"R3", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         if (!diagnosis::ReadLogSwitch().On()) {
             throw Skip{"the log is switched off in the registry"};
         }
         HandOutAll(session); // empties the log
         StreamOne(session);
         session.Channel().Release();
         session.Leave();
         // A frame that comes late is reported as an error too, and is none.
         const diagnosis::LogReport report = diagnosis::ReadLog(diagnosis::OwnLogFile(), true);
         if (report.runs.empty()) {
             throw Skip{"another program empties the log"};
         }
         for (const diagnosis::Finding& finding : report.runs.back().findings) {
             if (finding.fault->severity != diagnosis::Severity::Hint) {
                 session.Warn(camhost::InOneLine(finding));
             }
         }
     }},
    {"R4", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         Acquisition acquisition(session);
         acquisition.Next();
         acquisition.Abandon();
         session.Leave();
         try {
             session.Reach(Stage::Opened);
         }
         catch (const Skip& why) {
             throw Failed{"the camera is still in use: " + why.reason};
         }
     }},
    {"R5", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         constexpr int kCalls = 100;
         int failures[2] = {};
         std::string texts[2];
         const auto callOften = [&](std::size_t caller) {
             for (int i = 0; i < kCalls; ++i) {
                 std::string value;
                 const host::Outcome outcome =
                     session.Channel().ReadValue(caller == 0 ? "Width" : "Height", &value);
                 if (!outcome) {
                     ++failures[caller];
                     texts[caller] = outcome.text;
                 }
             }
         };
         std::thread second(callOften, 1U);
         callOften(0);
         second.join();
         for (const std::size_t caller : {0U, 1U}) {
             CERTIFY(failures[caller] == 0, failures[caller] << " calls failed: " << texts[caller]);
         }
     }},
    {"R6", Stage::Folder, Effect::Reads,
     [](Session& session) {
         const fs::path sdk = session.Asked().sdk;
         std::uintmax_t size = 0;
         for (const auto& file : fs::recursive_directory_iterator(sdk)) {
             size += file.is_regular_file() ? file.file_size() : 0;
         }
         if (size > kLargestCopy) {
             throw Skip{"the SDK folder is too large to be copied"};
         }
         fs::path folder = session.Asked().folder / host::PathOf("\xC3\xA4 b");
         while (folder.native().size() < kLongPath) {
             folder /= std::string(std::min<std::size_t>(40, kLongPath - folder.native().size()), 'x');
         }
         fs::remove_all(folder);
         fs::create_directories(folder.parent_path());
         fs::copy(sdk, folder, fs::copy_options::recursive);
         Settings moved = session.Asked();
         moved.sdk = folder;
         Session other(moved);
         try {
             other.Reach(Stage::Adapter);
         }
         catch (const Skip& why) {
             throw Failed{why.reason};
         }
     }},
    {"R7", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         Acquisition acquisition(session);
         const auto takeImages = [&](int most, std::chrono::milliseconds time) {
             const auto end = std::chrono::steady_clock::now() + time;
             for (int i = 0; i < most && std::chrono::steady_clock::now() < end; ++i) {
                 acquisition.Next();
             }
         };
         // A heap may keep some images for the next ones, but not more each time.
         takeImages(50, 500ms);
         const std::uint64_t handles = HandlesInUse();
         std::uint64_t memory = MemoryInUse();
         std::uint64_t least = std::numeric_limits<std::uint64_t>::max(); // that was kept in a while
         for (int i = 0; i < 2; ++i) {
             takeImages(50, 500ms);
             const std::uint64_t now = MemoryInUse();
             least = std::min(least, now - std::min(now, memory));
             memory = now;
         }
         CERTIFY(least <= session.Asked().loadMemory,
                 "memory grew twice by at least " << least / 1024 << " KiB");
         CERTIFY(HandlesInUse() <= handles + kHandleNoise, HandlesInUse() - handles << " handles stayed");
     }},
    {"R8", Stage::Adapter, Effect::Reads,
     [](Session& session) {
         for (int i = 0; i < kSettledRestarts; ++i) {
             HandOutAll(session);
         }
         const Holdings before;
         for (int i = kSettledRestarts; i < kRestarts; ++i) {
             HandOutAll(session);
         }
         before.ExpectNoMore(session);
     }},
    {"R9", Stage::Folder, Effect::Writes,
     [](Session& session) {
         session.Reach(Stage::Adapter);
         session.Leave();
         const std::uint64_t before = ThreadsInUse();
         session.Reach(Stage::Adapter);
         StreamOne(session);
         session.Leave();
         const auto end = std::chrono::steady_clock::now() + 2s; // the system takes its time to end one
         while (ThreadsInUse() > before && std::chrono::steady_clock::now() < end) {
             std::this_thread::sleep_for(10ms);
         }
         CERTIFY(ThreadsInUse() <= before, ThreadsInUse() - before << " threads stayed");
     }},
    {"R10", Stage::Adapter, Effect::Writes,
     [](Session& session) {
         const Settings& asked = session.Asked();
         if (asked.program.empty()) {
             throw Skip{"it needs a second process"};
         }
         Acquisition acquisition(session);
         acquisition.Next();
         ChildProcess second(asked.program,
                             {"list", "--sdk", host::TextOf(asked.sdk), "--adapter", asked.adapter});
         for (std::string line; second.ReadLine(&line);) {
             // whether it can open the camera is the SDK's to decide
         }
         second.Wait();
         for (int i = 0; i < 20; ++i) { // more than wait in the queue
             acquisition.Next();
         }
     }},
};

const Group kGroup{'R', kChecks};

} // namespace maravel::certify::robustness
