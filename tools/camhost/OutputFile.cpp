#include "OutputFile.h"

#include "Failure.h"

#include <fstream>
#include <system_error>

namespace maravel::camhost {

void WriteWholeFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes)
{
    std::error_code error;
    if (path.has_parent_path())
        std::filesystem::create_directories(path.parent_path(), error);

    std::filesystem::path temporary = path;
    temporary += ".part";
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (file)
        std::filesystem::rename(temporary, path, error);
    if (!file || error) {
        std::filesystem::remove(temporary, error);
        throw Failure(ExitRefused,
                      path.string() + " cannot be written; is there room, and may you write there?");
    }
}

} // namespace maravel::camhost
