#include "../Machine.h"

#include "platform/Win32.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace maravel::diagnosis {

namespace fs = std::filesystem;

namespace {

std::string FirstLineOf(const fs::path& path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

long long NumberIn(const fs::path& path, long long otherwise)
{
    const std::string text = FirstLineOf(path);
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    return end == text.c_str() ? otherwise : value;
}

std::tm LocalTime(std::time_t time)
{
    std::tm local = {};
    localtime_r(&time, &local);
    return local;
}

// Wired interfaces that are up.
std::vector<std::string> Interfaces()
{
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/sys/class/net", error)) {
        if (entry.path().filename() != "lo" && FirstLineOf(entry.path() / "operstate") == "up" &&
            NumberIn(entry.path() / "type", 0) == 1 && !fs::exists(entry.path() / "wireless")) {
            names.push_back(entry.path().filename());
        }
    }
    std::ranges::sort(names);
    return names;
}

void CheckInterfaces(std::vector<MachineCheck>& checks)
{
    const fs::path filters = "/proc/sys/net/ipv4/conf";
    const long long all = NumberIn(filters / "all/rp_filter", 0);
    const std::vector<std::string> names = Interfaces();
    for (const std::string& name : names) {
        const long long mtu = NumberIn(fs::path("/sys/class/net") / name / "mtu", 0);
        checks.push_back(
            {"mtu-" + name, mtu >= 8000,
             "network interface " + name + " carries packets of " + std::to_string(mtu) + " bytes",
             "for GigE Vision cameras on it: ip link set " + name + " mtu 9000, and the same in the switch"});
        const long long filter = std::max(all, NumberIn(filters / name / "rp_filter", 0));
        if (names.size() > 1) {
            checks.push_back({"rp-filter-" + name, filter != 1,
                              "reverse path filter of " + name + " is " + std::to_string(filter),
                              "with two cards in one subnet: sysctl net.ipv4.conf.all.rp_filter=0"});
        }
    }
}

// USB3 Vision devices carry an interface of class 0xEF, subclass 0x05.
void CheckUsb(std::vector<MachineCheck>& checks)
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/sys/bus/usb/devices", error)) {
        if (FirstLineOf(entry.path() / "bInterfaceClass") != "ef" ||
            FirstLineOf(entry.path() / "bInterfaceSubClass") != "05") {
            continue;
        }
        const fs::path device = fs::canonical(entry.path(), error).parent_path();
        char node[64];
        std::snprintf(node, sizeof(node), "/dev/bus/usb/%03lld/%03lld", NumberIn(device / "busnum", 0),
                      NumberIn(device / "devnum", 0));
        const bool open = access(node, R_OK | W_OK) == 0;
        checks.push_back({"usb-permission", open,
                          std::string("USB3 Vision camera at ") + node +
                              (open ? " may be opened" : " may not be opened by this user"),
                          "write the udev rule of docs/real-cameras.md, then plug the camera in again"});
        const long long memory = NumberIn("/sys/module/usbcore/parameters/usbfs_memory_mb", 0);
        checks.push_back({"usb-memory", memory == 0 || memory >= 200,
                          "USB memory: " + std::to_string(memory) + " MB",
                          "echo 1000 > /sys/module/usbcore/parameters/usbfs_memory_mb"});
    }
}

void CheckRawSockets(std::vector<MachineCheck>& checks)
{
    constexpr unsigned kNetRaw = 13; // CAP_NET_RAW
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("CapEff:")) {
            const bool has = (std::strtoull(line.c_str() + 7, nullptr, 16) >> kNetRaw & 1) != 0;
            checks.push_back(
                {"packet-sockets", has,
                 has ? "raw packet sockets are allowed"
                     : "raw packet sockets are not allowed: images pass the firewall and cost more work",
                 "setcap cap_net_raw+ep on the host program"});
        }
    }
}

} // namespace

LibraryKind NativeLibraryKind()
{
    return LibraryKind::Linux;
}

fs::path DocumentsFolder()
{
    char path[MAX_PATH] = "";
    return SHGetFolderPathA(nullptr, CSIDL_COMMON_DOCUMENTS, nullptr, 0, path) == 0 ? fs::path(path)
                                                                                    : fs::path();
}

// Of other users' programs only root may know.
std::vector<std::string> UsersOf(const fs::path& file)
{
    std::vector<std::string> users;
    struct stat wanted = {};
    if (stat(file.c_str(), &wanted) != 0) {
        return users;
    }
    std::error_code error;
    for (const auto& process : fs::directory_iterator("/proc", error)) {
        const std::string number = process.path().filename();
        if (!std::ranges::all_of(number, [](unsigned char c) { return std::isdigit(c); }) ||
            number == std::to_string(getpid())) {
            continue;
        }
        std::error_code unreadable;
        for (const auto& descriptor : fs::directory_iterator(process.path() / "fd", unreadable)) {
            struct stat found = {};
            if (stat(descriptor.path().c_str(), &found) != 0 || found.st_ino != wanted.st_ino ||
                found.st_dev != wanted.st_dev) {
                continue;
            }
            users.push_back(FirstLineOf(process.path() / "comm") + " (" + number + ")");
            break;
        }
    }
    return users;
}

// The loader itself names what it misses.
bool CanFindLibrary(const std::string&, const fs::path&)
{
    return true;
}

bool HasNarrowPath(const fs::path&)
{
    return true;
}

std::string EnvironmentVariable(const std::string& name)
{
    const char* value = std::getenv(name.c_str());
    return value == nullptr ? "" : value;
}

FileMoment LastChangeOf(const fs::path& file)
{
    FileMoment moment;
    struct stat found = {};
    if (stat(file.c_str(), &found) != 0) {
        return moment;
    }
    const std::tm local = LocalTime(found.st_mtime);
    moment.timeOfDay =
        ((local.tm_hour * 60LL + local.tm_min) * 60 + local.tm_sec) * 1000 + found.st_mtim.tv_nsec / 1000000;
    // The clock of files is finer than that of time(), which can be a second behind for a moment.
    moment.secondsAgo = std::max<std::int64_t>(0, std::time(nullptr) - found.st_mtime);
    return moment;
}

std::string DayOf(const fs::path& file, int daysBefore)
{
    struct stat found = {};
    if (stat(file.c_str(), &found) != 0) {
        return {};
    }
    char text[16];
    const std::tm local = LocalTime(found.st_mtime - daysBefore * 86400LL);
    std::strftime(text, sizeof(text), "%Y-%m-%d", &local);
    return text;
}

std::vector<MachineCheck> CheckNetwork()
{
    std::vector<MachineCheck> checks;
    const long long buffer = NumberIn("/proc/sys/net/core/rmem_max", 0);
    checks.push_back({"receive-buffer", buffer >= 4 << 20,
                      "receive buffers may have " + std::to_string(buffer) + " bytes",
                      "for GigE Vision cameras: sysctl -w net.core.rmem_max=8388608"});
    CheckInterfaces(checks);
    CheckRawSockets(checks);
    CheckUsb(checks);
    return checks;
}

} // namespace maravel::diagnosis
