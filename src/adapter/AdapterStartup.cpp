#include "adapter/Lifecycle.h"

#include "Revision.h"
#include "config/TriggerModel.h"
#include "diag/EnvironmentProbes.h"
#include "diag/Log.h"
#include "platform/Win32.h"
#include "sdk/Names.h"
#include "sdk/SdkFolder.h"

namespace maravel {

namespace {

constexpr const char* kInitialize = "InitializeAdapter";
constexpr const char* kEnumerate = "EnumCameras";

// A camera list that is still changing after this many readings will not settle.
constexpr int kMaxListings = 100;

// Registers Exit when the start-up ends, however it ends.
struct ExitRegistration
{
    ExitRegistration() = default;
    ExitRegistration(const ExitRegistration&) = delete;
    ExitRegistration& operator=(const ExitRegistration&) = delete;
    ~ExitRegistration()
    {
        AtModuleExit([]() { Exit(); });
    }
};

void ReleaseEarlierStart() MARAVEL_REQUIRES(g_adapterMutex)
{
    if (g_apiAccess != nullptr || g_adapterData != nullptr || g_imageTransformAccess != nullptr) {
        CloseAllCameras(kEntry, Patience::Endless);
        ShutdownAdapter(Patience::Endless);
    }
}

void LogBanner()
{
    WriteLog(__LINE__, "#########################################\n");
    WriteLog(__LINE__, "ZorvikMaravelAdapter MODULE INITIALIZATION\n");
    WriteLog(__LINE__, "#########################################\n");
    WriteLog(__LINE__, "%s: Adapter version: V%d.%d.%d.%s\n", kEntry, MARAVEL_VERSION_MAJOR,
             MARAVEL_VERSION_MINOR, MARAVEL_VERSION_PATCH, MARAVEL_BUILD_REVISION);
}

// Starts the SDK; false, with a log line, when it refuses.
bool InitializeAdapter() MARAVEL_REQUIRES(g_adapterMutex)
{
    WriteLog(__LINE__, "%s\n", kInitialize);
    const ZvkError_t result = g_apiAccess->ZvkStartup(nullptr);
    const ApiVersion zvk = g_apiAccess->GetVersion();
    const ApiVersion transform = g_imageTransformAccess->GetVersion();
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: FAILED. Reason=%s (%d). Zorvik V%d.%d.%d.%d, ImageTransform V%d.%d.%d.%d\n",
                 kInitialize, ErrorCodeName(result), result, zvk.major, zvk.minor, zvk.patch, zvk.build,
                 transform.major, transform.minor, transform.patch, transform.build);
        return false;
    }
    WriteLog(__LINE__, "%s: SUCCESS. Zorvik V%d.%d.%d.%d, ImageTransform V%d.%d.%d.%d\n", kInitialize,
             zvk.major, zvk.minor, zvk.patch, zvk.build, transform.major, transform.minor, transform.patch,
             transform.build);
    return true;
}

// Lists the cameras until two readings agree on their number. After a failure, which is logged, the list is
// empty.
bool ListCameras(std::uint32_t count) MARAVEL_REQUIRES(g_adapterMutex)
{
    for (int listing = 0; listing < kMaxListings; ++listing) {
        if (count > CAdapterData::MaxCameras) {
            WriteLog(__LINE__, "%s: ERROR. The SDK lists %u cameras, more than %u. None is used.\n",
                     kEnumerate, count, CAdapterData::MaxCameras);
            return false;
        }
        g_adapterData->Alloc(count);
        std::uint32_t found = 0;
        const ZvkError_t result =
            g_apiAccess->ZvkCamerasList(g_adapterData->cameras.get(), count, &found, sizeof(ZvkCameraInfo_t));
        if (found == count && result == ZvkErrorSuccess) {
            return true;
        }
        g_adapterData->Free();
        if (found == count || (result != ZvkErrorSuccess && result != ZvkErrorMoreData)) {
            WriteLog(__LINE__, "%s: Error while enumerating cameras. Reason=%s (%d)\n", kEnumerate,
                     ErrorCodeName(result), result);
            return false;
        }
        count = found;
    }
    WriteLog(__LINE__, "%s: ERROR. The number of cameras changed at each of %d listings. None is used.\n",
             kEnumerate, kMaxListings);
    return false;
}

void EnumCameras() MARAVEL_REQUIRES(g_adapterMutex)
{
    WriteLog(__LINE__, "%s\n", kEnumerate);
    if (g_apiAccess == nullptr || g_adapterData == nullptr) {
        WriteLog(__LINE__, "%s: INVALID class pointer.\n", kEnumerate);
        return;
    }
    std::uint32_t count = 0;
    const ZvkError_t result = g_apiAccess->ZvkCamerasList(nullptr, 0, &count, sizeof(ZvkCameraInfo_t));
    if (result != ZvkErrorSuccess) {
        MARAVEL_FORMAT_AS_IT_STANDS_BEGIN
        WriteLog(__LINE__, "% s: Error while enumerating cameras.Reason = % s(% d)\n", kEnumerate,
                 ErrorCodeName(result), result);
        MARAVEL_FORMAT_AS_IT_STANDS_END
        return;
    }
    if (ListCameras(count)) {
        WriteLog(__LINE__, "%s: Found %d camera(s)\n", kEnumerate,
                 static_cast<int>(g_adapterData->cameraCount));
    }
}

} // namespace

void StartAdapter()
{
    ReleaseEarlierStart();
    InitLog();
    LogBanner();
    WriteLog(__LINE__, "%s: Running as admin: %d\n", kEntry, isProcessRunningAsAdmin() ? 1 : 0);
    listAdapters();
    WriteLog(__LINE__, "%s: Accessing channelID %d...\n", kEntry, 0);
    const std::wstring sdkFolder = FullPath(GetZvkApiPath());
    g_triggerModel = CheckTriggerModel() ? 1 : 0;

    const ExitRegistration exitRegistration;
    if (!IsExistingFolder(sdkFolder)) {
        return;
    }
    g_adapterData = std::make_unique<CAdapterData>();
    g_imageTransformAccess = std::make_unique<CHVNImageTransformAPIAccess>(sdkFolder);
    g_apiAccess = std::make_unique<CZorvikAPIAccess>(sdkFolder);
    if (!g_imageTransformAccess->IsValid() || !g_apiAccess->IsValid() || !InitializeAdapter()) {
        return;
    }
    EnumCameras();
    const MutexLock lock(g_frameMutex);
    g_receptionAccess = {g_apiAccess.get(), g_adapterData.get()};
}

} // namespace maravel
