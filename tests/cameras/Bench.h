// The cameras that the tests run on: an SDK folder, and hands that plug and unplug what it reaches.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace maravel::test {

class Bench
{
public:
    Bench() = default;
    virtual ~Bench() = default;
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    // Cameras that can be there at a time, all plugged in at first; with 0, WhyNone says why.
    virtual std::size_t CameraCount() const = 0;
    virtual std::string WhyNone() const { return {}; }
    virtual std::string SdkFolder() const = 0;
    virtual std::string Serial(std::size_t camera) const = 0;

    virtual void Unplug(std::size_t camera) = 0;
    virtual void PlugIn(std::size_t camera) = 0;

    // From here on the SDK may be called wrongly; where it keeps a record of that, this is not looked at.
    virtual void AllowViolations() {}

    // Whether monochrome pictures are the slanting ramp of Aravis' fake camera.
    virtual bool SendsRamp() const = 0;
};

std::unique_ptr<Bench> MakeSimulatedBench();
std::unique_ptr<Bench> MakeAravisBench(); // null: not on this system

} // namespace maravel::test
