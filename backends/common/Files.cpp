#include "Files.h"

namespace maravel::backend {

bool ReadWholeFile(const std::filesystem::path& path, std::string* bytes)
{
    std::FILE* file = OpenFile(path, false);
    if (file == nullptr) {
        return false;
    }
    bytes->clear();
    char part[4096];
    for (std::size_t count = 0; (count = std::fread(part, 1, sizeof(part), file)) > 0;) {
        bytes->append(part, count);
    }
    const bool good = std::ferror(file) == 0;
    std::fclose(file);
    return good;
}

bool WriteWholeFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::FILE* file = OpenFile(path, true);
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written;
}

} // namespace maravel::backend
