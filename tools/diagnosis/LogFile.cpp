#include "LogFile.h"

#include "Machine.h"
#include "SdkFolder.h"
#include "host/Utf8Path.h"
#include "platform/Win32.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>
#include <vector>

namespace maravel::diagnosis {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPiece = 1u << 20;
constexpr std::size_t kHeadBytes = 64;

} // namespace

fs::path OwnLogFile()
{
    const fs::path documents = DocumentsFolder();
    return documents.empty() ? documents
                             : documents / "Halvane" / "AdapterZorvik" / "MaravelAdapterZorvik.log";
}

LogSwitch ReadLogSwitch()
{
    LogSwitch state;
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\maravel\\PLK\\AdapterZorvik", 0, KEY_READ, &key) !=
        static_cast<LSTATUS>(ERROR_SUCCESS)) {
        return state;
    }
    state.keyExists = true;
    DWORD type = 0, value = 0, size = sizeof(value);
    const LSTATUS read =
        RegQueryValueExA(key, "EnableLog", nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
    state.valueExists = read == static_cast<LSTATUS>(ERROR_SUCCESS);
    state.type = type;
    state.value = state.valueExists ? value : 0;
    RegCloseKey(key);
    return state;
}

Circumstances CircumstancesOf(const fs::path& file, bool own, bool followed)
{
    Circumstances circumstances;
    circumstances.ownLog = own;
    circumstances.stillWritten = followed;
    if (!own) {
        return circumstances;
    }
    circumstances.stillWritten |= !followed && !UsersOf(file).empty();
    circumstances.loggingOff = !ReadLogSwitch().On();
    circumstances.inspect = InspectSdk;
    return circumstances;
}

bool LogTail::WasEmptied() const
{
    std::error_code error;
    const auto size = fs::file_size(file_, error);
    if (error || size < position_) {
        return !error;
    }
    // It may have grown beyond that place already; the time in its first line is another one then.
    std::string head(head_.size(), '\0');
    std::ifstream stream(file_, std::ios::binary);
    return stream.read(head.data(), static_cast<std::streamsize>(head.size())) && head != head_;
}

bool LogTail::ReadInto(Analysis& analysis)
{
    errno = 0;
    std::ifstream stream(file_, std::ios::binary);
    if (!stream) {
        throw std::system_error(errno == 0 ? EIO : errno, std::generic_category(), host::TextOf(file_));
    }
    stream.seekg(static_cast<std::streamoff>(position_));
    std::vector<char> piece(kPiece);
    bool any = false;
    while (stream) {
        stream.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        const auto count = static_cast<std::size_t>(stream.gcount());
        analysis.Feed({piece.data(), count});
        if (position_ < kHeadBytes) {
            head_.append(piece.data(), std::min<std::size_t>(count, kHeadBytes - head_.size()));
        }
        position_ += count;
        any |= count > 0;
    }
    return any;
}

LogReport FinishReport(const Analysis& analysis, const fs::path& file, const Circumstances& circumstances)
{
    LogReport report = analysis.Report(circumstances);
    report.file = host::TextOf(file);
    report.date = DayOf(file, 0);
    return report;
}

LogReport ReadLog(const fs::path& file, bool own, Analysis::Observer observer)
{
    Analysis analysis(std::move(observer));
    LogTail tail(file);
    tail.ReadInto(analysis);
    analysis.Finish();
    return FinishReport(analysis, file, CircumstancesOf(file, own));
}

} // namespace maravel::diagnosis
