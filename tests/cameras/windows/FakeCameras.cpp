#include "cameras/FakeCameras.h"

namespace maravel::test {

FakeCameras::FakeCameras() : whyNone_("Aravis is not built for this system") {}

FakeCameras::~FakeCameras() = default;

std::string FakeCameras::Serial(std::size_t)
{
    return {};
}

bool FakeCameras::PlugIn(std::size_t)
{
    return false;
}

void FakeCameras::Unplug(std::size_t) {}

} // namespace maravel::test
