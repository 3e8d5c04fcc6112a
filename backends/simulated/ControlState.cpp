#include "ControlState.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace maravel::simulated {

using backend::Lock;

constinit ControlState g_control;

void ControlState::Reset()
{
    Lock lock(mutex_);
    hasDescription_ = false;
    error_[0] = '\0';
    countsLeft_ = nextCount_ = holdCount_ = unplugged_ = unpluggingCount_ = 0;
    shapes_ = {};
    startedBefore_ = planBegun_ = false;
}

bool ControlState::SetDescription(const char* text)
{
    Lock lock(mutex_);
    if (text == nullptr) {
        hasDescription_ = false;
        return true;
    }
    if (std::strlen(text) >= sizeof(description_)) {
        return false;
    }
    std::snprintf(description_, sizeof(description_), "%s", text);
    hasDescription_ = true;
    return true;
}

bool ControlState::GetDescription(std::string* text)
{
    Lock lock(mutex_);
    if (hasDescription_) {
        *text = description_;
    }
    return hasDescription_;
}

void ControlState::SetError(const std::string& error)
{
    Lock lock(mutex_);
    std::snprintf(error_, sizeof(error_), "%s", error.c_str());
}

std::uint32_t ControlState::GetError(char* buffer, std::uint32_t size)
{
    Lock lock(mutex_);
    if (buffer != nullptr && size > 0) {
        std::snprintf(buffer, size, "%s", error_);
    }
    return static_cast<std::uint32_t>(std::strlen(error_));
}

bool ControlState::ScriptCameraCounts(const std::uint32_t* counts, std::uint32_t n)
{
    Lock lock(mutex_);
    if (n > counts_.size() || (n > 0 && counts == nullptr)) {
        return false;
    }
    std::copy_n(counts, n, counts_.begin());
    countsLeft_ = n;
    nextCount_ = 0;
    return true;
}

std::uint32_t ControlState::NextCameraCount(std::uint32_t described)
{
    Lock lock(mutex_);
    if (countsLeft_ == 0) {
        return described;
    }
    const std::uint32_t count = counts_[nextCount_];
    if (countsLeft_ > 1) { // the last one stays
        --countsLeft_;
        ++nextCount_;
    }
    return std::min(count, described);
}

bool ControlState::HoldCommand(std::uint32_t camera, const char* name, bool hold)
{
    Lock lock(mutex_);
    const auto end = holds_.begin() + holdCount_;
    const auto found = std::find_if(holds_.begin(), end, [camera, name](const Hold& known) {
        return known.camera == camera && std::strcmp(known.name, name) == 0;
    });
    if (!hold && found != end) {
        std::move(found + 1, end, found);
        --holdCount_;
    }
    else if (hold && found == end) {
        if (holdCount_ == holds_.size() || std::strlen(name) >= sizeof(Hold::name)) {
            return false;
        }
        Hold& added = holds_[holdCount_++];
        added.camera = camera;
        std::snprintf(added.name, sizeof(added.name), "%s", name);
    }
    return true;
}

bool ControlState::IsHeld(std::uint32_t camera, const char* name)
{
    Lock lock(mutex_);
    return std::any_of(holds_.begin(), holds_.begin() + holdCount_, [camera, name](const Hold& known) {
        return known.camera == camera && std::strcmp(known.name, name) == 0;
    });
}

void ControlState::SetUnplugged(std::uint32_t camera, bool unplugged)
{
    Lock lock(mutex_);
    const std::uint32_t bit = 1U << camera;
    unplugged_ = unplugged ? unplugged_ | bit : unplugged_ & ~bit;
}

bool ControlState::IsUnplugged(std::uint32_t camera)
{
    Lock lock(mutex_);
    if ((unplugged_ >> camera & 1U) != 0) {
        return true;
    }
    if (unpluggingCount_ == 0) {
        return false;
    }
    const Clock::time_point now = Clock::now();
    return std::any_of(unpluggings_.begin(), unpluggings_.begin() + unpluggingCount_,
                       [camera, now](const Unplugging& planned) {
                           const auto begin = planned.begin + std::chrono::milliseconds(planned.afterMs);
                           return planned.camera == camera && planned.begun && now >= begin &&
                                  (planned.forMs == 0 ||
                                   now < begin + std::chrono::milliseconds(planned.forMs));
                       });
}

bool ControlState::TakeFirstStart()
{
    Lock lock(mutex_);
    const bool first = !startedBefore_;
    startedBefore_ = true;
    return first;
}

void ControlState::Shape(const PlannedFault& fault)
{
    Lock lock(mutex_);
    if (fault.camera >= shapes_.size()) {
        return;
    }
    CameraShape& shape = shapes_[fault.camera];
    if (fault.kind == PlannedFault::Kind::Incomplete) {
        shape.incompleteEvery = fault.number;
    }
    shape.silent |= fault.kind == PlannedFault::Kind::Silent;
    shape.busy |= fault.kind == PlannedFault::Kind::Busy;
}

ControlState::CameraShape ControlState::ShapeOf(std::uint32_t camera)
{
    Lock lock(mutex_);
    return camera < shapes_.size() ? shapes_[camera] : CameraShape();
}

bool ControlState::PlanUnplug(const PlannedFault& fault)
{
    Lock lock(mutex_);
    if (unpluggingCount_ == unpluggings_.size()) {
        return false;
    }
    unpluggings_[unpluggingCount_++] = {
        fault.camera, fault.afterMs, fault.afterFrames, fault.forMs, planBegun_ && fault.afterFrames == 0,
        Clock::now()};
    return true;
}

void ControlState::BeginPlan()
{
    Lock lock(mutex_);
    if (planBegun_) {
        return;
    }
    planBegun_ = true;
    for (std::uint32_t i = 0; i < unpluggingCount_; ++i) {
        unpluggings_[i].begun = unpluggings_[i].afterFrames == 0;
        unpluggings_[i].begin = Clock::now();
    }
}

void ControlState::NoteFrames(std::uint32_t camera, std::uint64_t sent)
{
    Lock lock(mutex_);
    for (std::uint32_t i = 0; i < unpluggingCount_; ++i) {
        Unplugging& planned = unpluggings_[i];
        if (planned.camera != camera || planned.begun || sent < planned.afterFrames) {
            continue;
        }
        planned.begun = true;
        planned.begin = Clock::now();
    }
}

void ControlState::Remember(std::uint32_t camera, const Registration& registration)
{
    Lock lock(mutex_);
    registrations_[camera] = registration;
}

ControlState::Registration ControlState::Recall(std::uint32_t camera)
{
    Lock lock(mutex_);
    return registrations_[camera];
}

} // namespace maravel::simulated
