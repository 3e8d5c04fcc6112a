// A folder of its own for a measurement: an SDK folder with cameras made for it, and the adapter's log and
// registry.
#pragma once

#include <filesystem>
#include <string>

namespace maravel::bench {

struct BenchCameras
{
    std::size_t count = 1;
    std::string pixelFormat = "Mono8";
    unsigned width = 2592;
    unsigned height = 1944;
    bool sendsFrames = true; // as fast as buffers are queued; otherwise none at all
};

class Sandbox
{
public:
    // Copies the libraries of a built SDK folder. Copies at different places are different libraries to the
    // loader, so that two sandboxes in one process share nothing. Throws std::filesystem::filesystem_error.
    Sandbox(const std::filesystem::path& builtSdkFolder, const BenchCameras& cameras);
    ~Sandbox();
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    // Points the environment of an adapter that is started next here.
    void Enter() const;

    std::filesystem::path SdkFolder() const { return folder_ / "sdk"; }
    std::filesystem::path Folder() const { return folder_; }

private:
    std::filesystem::path folder_;
};

} // namespace maravel::bench
