#include "Library.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <optional>

namespace maravel::aravis {

using backend::HandleKind;
using backend::Lock;

constinit backend::Mutex g_mutex;

namespace {

// Null outside of a session. Deleted by ZvkShutdown.
constinit Library* g_library MARAVEL_GUARDED_BY(g_mutex) = nullptr;

// A look waits a second for answers. What was seen this short a time ago, in an earlier session too, still
// holds: no camera starts up faster.
constexpr std::chrono::seconds kFresh{2};

// Aravis keeps its list of cameras for the process, whatever sessions come and go. Before the library's lock.
constinit backend::Mutex g_discovery;
constinit std::optional<std::chrono::steady_clock::time_point> g_lastLook MARAVEL_GUARDED_BY(g_discovery);

} // namespace

Camera* Library::FindCamera(const char* id) const
{
    for (const auto& camera : cameras) {
        if (std::strcmp(camera->Who().id, id) == 0) {
            return camera.get();
        }
    }
    return nullptr;
}

void Library::Note(const Identity& seen)
{
    if (Camera* known = FindCamera(seen.id)) {
        known->present = true;
        return;
    }
    const auto index = static_cast<std::uint32_t>(cameras.size());
    auto camera = std::make_unique<Camera>(seen, texts_);
    camera->present = true;
    camera->transportHandle = handles.Add(HandleKind::TransportLayer, index, camera.get());
    camera->interfaceHandle = handles.Add(HandleKind::Interface, index, camera.get());
    cameras.push_back(std::move(camera));
}

void Library::LookRound()
{
    Lock discovery(g_discovery);
    if (!g_lastLook || std::chrono::steady_clock::now() - *g_lastLook > kFresh) {
        arv_update_device_list();
        g_lastLook = std::chrono::steady_clock::now();
    }
    std::vector<Identity> seen;
    for (unsigned i = 0; i < arv_get_n_devices(); ++i) {
        seen.push_back({texts_.Keep(arv_get_device_id(i)), texts_.Keep(arv_get_device_address(i)),
                        texts_.Keep(arv_get_device_vendor(i)), texts_.Keep(arv_get_device_model(i)),
                        texts_.Keep(arv_get_device_serial_nbr(i)), texts_.Keep(arv_get_device_protocol(i))});
    }
    // The same order at every look, so that a channel stays the same camera.
    std::sort(seen.begin(), seen.end(),
              [](const Identity& a, const Identity& b) { return std::strcmp(a.id, b.id) < 0; });
    Lock lock(g_mutex);
    for (const auto& camera : cameras) {
        camera->present = false;
    }
    for (const Identity& identity : seen) {
        Note(identity);
    }
    lookedRound = true;
}

Session::Session()
{
    Lock lock(g_mutex);
    if (g_library != nullptr && !g_library->closing) {
        library_ = g_library;
        ++library_->users;
    }
}

Session::~Session()
{
    if (library_ == nullptr) {
        return;
    }
    Lock lock(g_mutex);
    if (--library_->users == 0) {
        library_->unused.WakeAll();
    }
}

Session::Named Session::Find(ZvkHandle_t handle) const
{
    Lock lock(g_mutex);
    const backend::HandleTable::Entry* entry = library_->handles.Find(handle);
    if (entry == nullptr) {
        return {};
    }
    return {static_cast<Camera*>(entry->object), entry->name.kind, entry->name.index};
}

Camera* Session::FindCamera(ZvkHandle_t handle) const
{
    const Named named = Find(handle);
    return named.kind == HandleKind::Camera ? named.camera : nullptr;
}

ZvkError_t StartLibrary()
{
    auto library = std::make_unique<Library>();
    Lock lock(g_mutex);
    if (g_library != nullptr) {
        return ZvkErrorAlready;
    }
    g_library = library.release();
    return ZvkErrorSuccess;
}

void ShutDownLibrary() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    Lock lock(g_mutex);
    Library* library = g_library;
    if (library == nullptr || library->closing) {
        return; // nothing to shut down; harmless
    }
    for (const auto& camera : library->cameras) {
        if (camera->Frames().IsOnOwnThread()) {
            return; // it would wait for itself
        }
    }
    library->closing = true;
    while (library->users > 0) {
        library->unused.Wait(g_mutex);
    }
    lock.Unlock();
    delete library; // closes what is open
    lock.Relock();
    g_library = nullptr;
}

} // namespace maravel::aravis
