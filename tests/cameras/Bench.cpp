#include "Bench.h"

#include "support/SdkControl.h"
#include "support/TestPlatform.h"

#include <gtest/gtest.h>

namespace maravel::test {
namespace {

// As Aravis' fake cameras are: of the same size, formats and rate.
std::string Describe(const std::string& serial)
{
    return "[[camera]]\nid = '" + serial + "'\nserial = '" + serial + R"('
model = "Fake"
vendor = "Tests"
interface = "GigE"
transport_vendor = "Others"
width = 2048
height = 2048
pixel_formats = ["Mono8", "BayerRG8", "RGB8", "Mono16"]
frame_rate = 25.0
exposure_us = 10000.0
packet_size = 1500
packet_negotiation_ms = 20
[camera.values]
Width = 512
Height = 512
)";
}

class SimulatedBench final : public Bench
{
public:
    SimulatedBench()
    {
        sdk_.SimReset();
        EXPECT_EQ(sdk_.SimSetDescription((Describe(Serial(0)) + Describe(Serial(1))).c_str()), 0);
    }
    ~SimulatedBench() override
    {
        if (!allowViolations_) {
            EXPECT_EQ(sdk_.Violations(), "");
        }
        sdk_.SimReset();
        sdk_.SimSetDescription(nullptr);
    }

    std::size_t CameraCount() const override { return 2; }
    std::string SdkFolder() const override { return test::SdkFolder(); }
    std::string Serial(std::size_t camera) const override { return camera == 0 ? "SIM-A" : "SIM-B"; }
    void Unplug(std::size_t camera) override { sdk_.SimUnplug(static_cast<std::uint32_t>(camera), 1); }
    void PlugIn(std::size_t camera) override { sdk_.SimUnplug(static_cast<std::uint32_t>(camera), 0); }
    void AllowViolations() override { allowViolations_ = true; }
    bool SendsRamp() const override { return false; }

private:
    bool allowViolations_ = false;
    SdkControl sdk_{test::SdkFolder()};
};

} // namespace

std::unique_ptr<Bench> MakeSimulatedBench()
{
    return std::make_unique<SimulatedBench>();
}

} // namespace maravel::test
