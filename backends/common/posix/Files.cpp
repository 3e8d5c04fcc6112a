#include "backends/common/Files.h"

namespace maravel::backend {

std::filesystem::path PathFromUtf8(const std::string& text)
{
    return text;
}

std::FILE* OpenFile(const std::filesystem::path& path, bool forWriting)
{
    return std::fopen(path.c_str(), forWriting ? "wb" : "rb");
}

} // namespace maravel::backend
