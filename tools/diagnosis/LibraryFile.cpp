#include "LibraryFile.h"

#include "Machine.h"

#include <fstream>
#include <optional>
#include <span>
#include <system_error>

namespace maravel::diagnosis {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostRead = 256u << 20; // no SDK's library is larger
constexpr std::size_t kMostNeeds = 256;

// Reads within the file only: a garbled one may point anywhere.
class Bytes
{
public:
    explicit Bytes(std::string bytes) : bytes_(std::move(bytes)) {}

    std::size_t Size() const { return bytes_.size(); }
    std::string_view At(std::size_t offset, std::size_t size) const
    {
        return offset <= bytes_.size() && size <= bytes_.size() - offset
                   ? std::string_view(bytes_).substr(offset, size)
                   : std::string_view();
    }
    std::optional<std::uint64_t> Number(std::uint64_t offset, std::size_t size) const
    {
        const std::string_view bytes = At(static_cast<std::size_t>(offset), size);
        if (bytes.empty()) {
            return std::nullopt;
        }
        std::uint64_t value = 0;
        for (std::size_t i = size; i > 0; --i) {
            value = value << 8 | static_cast<unsigned char>(bytes[i - 1]);
        }
        return value;
    }
    std::string Text(std::uint64_t offset) const
    {
        if (offset >= bytes_.size()) {
            return {};
        }
        const std::size_t begin = static_cast<std::size_t>(offset);
        const std::size_t end = bytes_.find('\0', begin);
        return end == std::string::npos || end - begin > 260 ? std::string()
                                                             : bytes_.substr(begin, end - begin);
    }

private:
    std::string bytes_;
};

std::string PeMachine(std::uint64_t code)
{
    switch (code) {
    case 0x8664:
        return "64-bit x86";
    case 0x14C:
        return "32-bit x86";
    case 0xAA64:
        return "64-bit ARM";
    default:
        return "machine " + std::to_string(code);
    }
}

std::string ElfMachine(std::uint64_t code)
{
    switch (code) {
    case 62:
        return "64-bit x86";
    case 3:
        return "32-bit x86";
    case 183:
        return "64-bit ARM";
    default:
        return "machine " + std::to_string(code);
    }
}

LibraryFile NoLibrary(const char* detail)
{
    LibraryFile file;
    file.kind = LibraryKind::NoLibrary;
    file.detail = detail;
    return file;
}

// Names in the import directory of a PE file; its sections say where an address lies in the file.
std::vector<std::string> PeNeeds(const Bytes& bytes, std::uint64_t header)
{
    std::vector<std::string> needs;
    const std::uint64_t sections = bytes.Number(header + 6, 2).value_or(0);
    const std::uint64_t table = header + 24 + bytes.Number(header + 20, 2).value_or(0);
    const auto offsetOf = [&](std::uint64_t address) -> std::uint64_t {
        for (std::uint64_t i = 0; i < sections && i < 96; ++i) {
            const std::uint64_t section = table + 40 * i;
            const std::uint64_t begin = bytes.Number(section + 12, 4).value_or(0);
            const std::uint64_t size = bytes.Number(section + 16, 4).value_or(0);
            if (address >= begin && address - begin < size) {
                return bytes.Number(section + 20, 4).value_or(0) + (address - begin);
            }
        }
        return ~std::uint64_t{0};
    };
    const std::uint64_t imports = bytes.Number(header + 24 + 120, 4).value_or(0); // second directory
    if (imports == 0) {
        return needs;
    }
    for (std::uint64_t entry = offsetOf(imports); needs.size() < kMostNeeds; entry += 20) {
        const std::uint64_t name = bytes.Number(entry + 12, 4).value_or(0);
        const std::string text = name == 0 ? std::string() : bytes.Text(offsetOf(name));
        if (text.empty()) {
            return needs;
        }
        needs.push_back(text);
    }
    return needs;
}

LibraryFile InspectPe(const Bytes& bytes)
{
    const std::uint64_t header = bytes.Number(0x3C, 4).value_or(0);
    const auto machine = bytes.Number(header + 4, 2);
    if (bytes.Number(header, 4) != 0x4550 || !machine) {
        return NoLibrary("its header is cut or garbled");
    }
    constexpr std::uint64_t kIsLibrary = 0x2000;
    if ((bytes.Number(header + 22, 2).value_or(0) & kIsLibrary) == 0) {
        return NoLibrary("it is a program");
    }
    LibraryFile file;
    file.kind = LibraryKind::Windows;
    file.sixtyFour = *machine == 0x8664;
    file.machine = PeMachine(*machine);
    if (file.sixtyFour) {
        file.needs = PeNeeds(bytes, header);
    }
    return file;
}

LibraryFile InspectElf(const Bytes& bytes)
{
    const auto machine = bytes.Number(18, 2);
    if (!machine || bytes.Size() < 64) {
        return NoLibrary("its header is cut");
    }
    LibraryFile file;
    file.kind = LibraryKind::Linux;
    file.sixtyFour = *machine == 62 && bytes.Number(4, 1) == 2;
    file.machine = ElfMachine(*machine);
    if (bytes.Number(16, 2) != 3) {
        return NoLibrary("it is no shared library");
    }
    return file;
}

} // namespace

LibraryFile InspectLibrary(const fs::path& path)
{
    LibraryFile file;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        return file;
    }
    if (fs::is_directory(status)) {
        file.kind = LibraryKind::Folder;
        return file;
    }
    const auto size = fs::file_size(path, error);
    std::ifstream stream(path, std::ios::binary);
    std::string content(error ? 0 : static_cast<std::size_t>(std::min<std::uintmax_t>(size, kMostRead)),
                        '\0');
    if (error || !stream || !stream.read(content.data(), static_cast<std::streamsize>(content.size()))) {
        file.kind = LibraryKind::Unreadable;
        return file;
    }
    if (content.empty()) {
        file.kind = LibraryKind::Empty;
        return file;
    }
    const Bytes bytes(std::move(content));
    if (bytes.Number(0, 2) == 0x5A4D) { // "MZ"
        return InspectPe(bytes);
    }
    if (bytes.Number(0, 4) == 0x464C457F) { // 7F "ELF"
        return InspectElf(bytes);
    }
    return NoLibrary("it does not begin like one");
}

std::string ComplaintOf(const LibraryFile& file)
{
    switch (file.kind) {
    case LibraryKind::Missing:
        return "the file is missing";
    case LibraryKind::Folder:
        return "a folder stands in its place";
    case LibraryKind::Unreadable:
        return "the file cannot be read";
    case LibraryKind::Empty:
        return "the file is empty";
    case LibraryKind::NoLibrary:
        return "the file is no library: " + file.detail;
    default:
        break;
    }
    if (file.kind != NativeLibraryKind()) {
        return file.kind == LibraryKind::Windows ? "it is a library for Windows, and this is Linux"
                                                 : "it is a library for Linux, and this is Windows";
    }
    return file.sixtyFour ? "" : "it is a " + file.machine + " library, and the 64-bit x86 one is needed";
}

} // namespace maravel::diagnosis
