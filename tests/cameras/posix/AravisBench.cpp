// The fake GigE Vision cameras of Aravis, as processes of their own on the loopback interface.
#include "cameras/Bench.h"
#include "support/TestPlatform.h"

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace maravel::test {
namespace {

constexpr const char* kProgram = "arv-fake-gv-camera-0.8";
constexpr std::uint16_t kControlPort = 3956;
constexpr std::size_t kMost = 2;
constexpr const char* kAddresses[kMost] = {"127.0.0.1", "127.0.0.2"};
constexpr const char* kSerials[kMost] = {"FAKE-A", "FAKE-B"};

sockaddr_in AddressOf(const char* text, std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, text, &address.sin_addr);
    return address;
}

bool IsInstalled()
{
    const char* path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "/usr/bin" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (access((folder + "/" + kProgram).c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

// Sets up an interface of this network: its flags, or its address.
bool Configure(int socket, const char* name, const char* address)
{
    ifreq request{};
    std::strncpy(request.ifr_name, name, sizeof(request.ifr_name) - 1);
    if (address == nullptr) {
        request.ifr_flags = IFF_UP | IFF_RUNNING | IFF_LOOPBACK;
        return ioctl(socket, SIOCSIFFLAGS, &request) == 0;
    }
    const sockaddr_in wanted = AddressOf(address, 0);
    std::memcpy(&request.ifr_addr, &wanted, sizeof(wanted));
    return ioctl(socket, SIOCSIFADDR, &request) == 0;
}

// A network that holds nothing but the loopback interface, with an address for each camera.
bool MoveIntoOwnNetwork()
{
    const uid_t user = getuid();
    const gid_t group = getgid();
    if (unshare(CLONE_NEWNET) != 0) {
        // Who may not do that may still do it in a world of his own.
        if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
            return false;
        }
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
        std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
    }
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    const bool good = Configure(socket, "lo", nullptr) && Configure(socket, "lo", kAddresses[0]) &&
                      Configure(socket, "lo:1", kAddresses[1]);
    close(socket);
    return good;
}

// Whether nobody listens for cameras' control at that address.
bool IsFree(const char* text)
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    const sockaddr_in address = AddressOf(text, kControlPort);
    const bool free = bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    close(socket);
    return free;
}

class AravisBench final : public Bench
{
public:
    // The first one moves this process into a network of its own where it may, so that no other camera is
    // seen or disturbed and two fake cameras have an address each.
    AravisBench()
    {
        static const bool ownNetwork = MoveIntoOwnNetwork();
        if (!IsInstalled()) {
            whyNone_ = std::string(kProgram) + " is not installed";
        }
        else if (ownNetwork) {
            possible_ = kMost;
        }
        else if (IsFree(kAddresses[0])) {
            possible_ = 1;
        }
        else {
            whyNone_ = "another camera listens on the loopback interface";
        }
        for (std::size_t i = 0; i < possible_; ++i) {
            PlugIn(i);
        }
    }
    ~AravisBench() override
    {
        for (std::size_t i = 0; i < kMost; ++i) {
            Kill(i);
        }
    }

    std::size_t CameraCount() const override { return possible_; }
    std::string WhyNone() const override { return whyNone_; }
    std::string SdkFolder() const override { return test::SdkFolder("sdk-aravis"); }
    std::string Serial(std::size_t camera) const override { return kSerials[camera]; }
    void Unplug(std::size_t camera) override { Kill(camera); }
    bool SendsRamp() const override { return true; }

    // Starts a camera and waits until it listens.
    void PlugIn(std::size_t camera) override
    {
        const pid_t child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL); // it does not outlive a test that crashes
            const int nothing = open("/dev/null", O_RDWR);
            dup2(nothing, 1);
            dup2(nothing, 2);
            execlp(kProgram, kProgram, "-i", kAddresses[camera], "-s", kSerials[camera], nullptr);
            _exit(127);
        }
        processes_[camera] = child;
        for (int i = 0; i < 500 && IsFree(kAddresses[camera]); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_FALSE(IsFree(kAddresses[camera]));
    }

private:
    // At once: the camera says no farewell.
    void Kill(std::size_t camera)
    {
        if (processes_[camera] == 0) {
            return;
        }
        kill(processes_[camera], SIGKILL);
        waitpid(processes_[camera], nullptr, 0);
        processes_[camera] = 0;
    }

    std::size_t possible_ = 0;
    std::string whyNone_;
    pid_t processes_[kMost] = {}; // 0: does not run
};

} // namespace

std::unique_ptr<Bench> MakeAravisBench()
{
    return std::make_unique<AravisBench>();
}

} // namespace maravel::test
