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
    if (fs::is_directory(status))
        Fail(path, "it is a folder");
    if (fs::exists(status) && !fs::is_regular_file(status))
        Fail(path, "it is a device, not a file");
    return fs::is_symlink(fs::symlink_status(path, error)) ? fs::weakly_canonical(path, error) : path;
}

} // namespace

void WriteWholeFile(const fs::path& path, std::span<const std::uint8_t> bytes)
{
    std::error_code error;
    if (path.has_parent_path())
        fs::create_directories(path.parent_path(), error);
    if (error)
        Fail(path, error.message());

    const fs::path target = TargetOf(path);
    fs::path temporary = target;
    temporary += ".part";
    errno = 0;
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
        error.assign(errno == 0 ? EIO : errno, std::generic_category());
    else
        fs::rename(temporary, target, error);
    if (error) {
        const std::string why = error.message();
        fs::remove(temporary, error);
        Fail(path, why);
    }
}

} // namespace maravel::camhost
