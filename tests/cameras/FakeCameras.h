// The fake GigE Vision cameras of Aravis, as processes of their own on the loopback interface.
#pragma once

#include <cstddef>
#include <string>

namespace maravel::test {

class FakeCameras
{
public:
    static constexpr std::size_t Most = 2;

    // The first object moves this process into a network of its own where it may, so that no other camera is
    // seen or disturbed and two fake cameras have an address each.
    FakeCameras();
    ~FakeCameras();
    FakeCameras(const FakeCameras&) = delete;
    FakeCameras& operator=(const FakeCameras&) = delete;

    // How many can run here; with 0, `WhyNone` says what is missing.
    std::size_t Possible() const { return possible_; }
    const std::string& WhyNone() const { return whyNone_; }

    static std::string Serial(std::size_t camera);

    // Starts a camera and waits until it listens; false when it does not.
    bool PlugIn(std::size_t camera);
    // Ends its process at once: it says no farewell.
    void Unplug(std::size_t camera);

private:
    std::size_t possible_ = 0;
    std::string whyNone_;
    int processes_[Most] = {}; // 0: does not run
};

} // namespace maravel::test
