#include "backends/common/Files.h"

#include <windows.h>

namespace maravel::backend {

std::filesystem::path PathFromUtf8(const std::string& text)
{
    const auto length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), size);
    return wide;
}

std::FILE* OpenFile(const std::filesystem::path& path, bool forWriting)
{
    return _wfopen(path.c_str(), forWriting ? L"wb" : L"rb");
}

} // namespace maravel::backend
