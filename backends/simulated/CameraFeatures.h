// Makes the features of a simulated camera and of the modules around it, named and behaving as the GenICam
// SFNC has them, after the camera's description.
#pragma once

#include "Camera.h"
#include "FeatureBuilder.h"

#include <string>

namespace maravel::simulated {

class CameraFeatures
{
public:
    explicit CameraFeatures(Camera& camera)
        : camera_(camera), description_(camera.Description()), set_(camera.Features()),
          build_(camera.Features())
    {
    }

    // Fills all of the camera's sets, then applies the description's own wishes. False: `error` says why.
    bool Build(std::string* error);

private:
    void AddDeviceControl();
    void AddImageFormat();
    void AddImageRegion();
    void AddAcquisition();
    void AddExposure();
    void AddTriggers();
    void AddAnalog();
    void AddLookUpTable();
    void AddDigitalIo();
    void AddCountersAndEvents();
    void AddUserSets();
    void AddChunks();
    void AddTransport();
    void AddStream();
    void AddSystemModules();
    bool AddWishes(std::string* error);
    void AddExtra(const ExtraFeature& extra);
    // An automatic function with the entries Off, Once and Continuous.
    void AddAuto(const char* name, const char* description);

    Camera& camera_;
    const CameraDescription& description_;
    FeatureSet& set_;
    FeatureBuilder build_;
};

} // namespace maravel::simulated
