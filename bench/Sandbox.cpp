#include "bench/Sandbox.h"

#include <cstdlib>
#include <fstream>
#include <system_error>

namespace maravel::bench {
namespace {

std::filesystem::path MakeFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "maravel-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::filesystem::filesystem_error("mkdtemp", pattern,
                                                std::error_code(errno, std::system_category()));
    }
    return pattern;
}

void Describe(const BenchCameras& cameras, const std::filesystem::path& file)
{
    std::ofstream toml(file);
    for (std::size_t i = 0; i < cameras.count; ++i) {
        toml << "[[camera]]\n"
             << "id = \"BENCH-" << i << "\"\n"
             << "model = \"Bench\"\nvendor = \"Bench\"\nserial = \"" << i << "\"\n"
             << "interface = \"USB3\"\ntransport_vendor = \"Bench\"\n"
             << "width = " << cameras.width << "\nheight = " << cameras.height << "\n"
             << "pixel_formats = [\"" << cameras.pixelFormat << "\"]\n"
             << "frame_rate = 10000.0\nexposure_us = 10.0\n"
             << "source = \"" << (cameras.sendsFrames ? "pattern" : "manual") << "\"\n";
    }
}

} // namespace

Sandbox::Sandbox(const std::filesystem::path& builtSdkFolder, const BenchCameras& cameras)
    : folder_(MakeFolder())
{
    std::filesystem::create_directories(SdkFolder() / "bin");
    for (const char* library : {"ZvkC.dll", "ZvkImageTransform.dll"}) {
        std::filesystem::copy_file(builtSdkFolder / "bin" / library, SdkFolder() / "bin" / library);
    }
    Describe(cameras, SdkFolder() / "cameras.toml");
}

Sandbox::~Sandbox()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void Sandbox::Enter() const
{
    setenv("ZORVIK_HOME", SdkFolder().c_str(), 1);
    setenv("MARAVEL_PLATFORM_ROOT", folder_.c_str(), 1);
}

} // namespace maravel::bench
