#include "OutputFile.h"

#include "Failure.h"
#include "host/Utf8Path.h"

#include <cerrno>
#include <fstream>
#include <string>
#include <system_error>

namespace maravel::camhost {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Fail(const fs::path& path, const std::string& why)
{
    throw Failure(ExitRefused, host::TextOf(path) + " cannot be written: " + why);
}

// A link stays a link. Renaming onto a device or a pipe would put a file in its place.
fs::path TargetOf(const fs::path& path)
{
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
        Fail(path, "it is a folder");
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        Fail(path, "it is a device, not a file");
    }
    return fs::is_symlink(fs::symlink_status(path, error)) ? fs::weakly_canonical(path, error) : path;
}

} // namespace

OutputFile::OutputFile(fs::path path) : path_(std::move(path))
{
    std::error_code error;
    if (path_.has_parent_path()) {
        fs::create_directories(path_.parent_path(), error);
    }
    if (error) {
        Fail(path_, error.message());
    }
    target_ = TargetOf(path_);
    temporary_ = target_;
    temporary_ += ".part";
    errno = 0;
    stream_.open(temporary_, std::ios::binary | std::ios::trunc);
    if (!stream_) {
        Fail(path_, std::generic_category().message(errno == 0 ? EIO : errno));
    }
}

OutputFile::~OutputFile()
{
    stream_.close();
    std::error_code error;
    fs::remove(temporary_, error);
}

void OutputFile::Commit()
{
    errno = 0;
    stream_.close();
    if (!stream_) {
        Fail(path_, std::generic_category().message(errno == 0 ? ENOSPC : errno));
    }
    std::error_code error;
    fs::rename(temporary_, target_, error);
    if (error) {
        Fail(path_, error.message());
    }
}

void WriteWholeFile(const fs::path& path, std::span<const std::uint8_t> bytes)
{
    OutputFile file(path);
    file.Stream().write(reinterpret_cast<const char*>(bytes.data()),
                        static_cast<std::streamsize>(bytes.size()));
    file.Commit();
}

} // namespace maravel::camhost
