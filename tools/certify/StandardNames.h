// Names of the standards: of features with their types, of pixel formats with their codes.
#pragma once

#include "sdk/ZvkTypes.h"

#include <cstdint>
#include <utility>

namespace maravel::certify {

// SFNC 2.7; `since` is the major version whose cameras have the features with this type.
struct StandardType
{
    std::uint32_t type;
    std::int64_t since;
    const char* names;
};
inline constexpr StandardType kStandardTypes[] = {
    {ZvkFeatureDataInt, 1,
     "SensorWidth SensorHeight WidthMax HeightMax Width Height OffsetX OffsetY BinningHorizontal "
     "BinningVertical DecimationHorizontal DecimationVertical PixelDynamicRangeMin PixelDynamicRangeMax "
     "PayloadSize AcquisitionFrameCount ExposureTimeRaw GainRaw BlackLevelRaw LineStatusAll "
     "UserOutputValueAll CounterValue CounterDuration LUTIndex LUTValue GevSCPSPacketSize"},
    {ZvkFeatureDataInt, 2,
     "DeviceSFNCVersionMajor DeviceSFNCVersionMinor DeviceSFNCVersionSubMinor DeviceLinkSpeed "
     "DeviceLinkThroughputLimit TimestampLatchValue AcquisitionBurstFrameCount TriggerDivider "
     "TriggerMultiplier"},
    {ZvkFeatureDataFloat, 1, "ExposureTimeAbs AcquisitionFrameRateAbs GainAbs TriggerDelayAbs"},
    {ZvkFeatureDataFloat, 2,
     "ExposureTime AcquisitionFrameRate AcquisitionLineRate TriggerDelay Gain BlackLevel BalanceRatio Gamma "
     "TimerDuration TimerDelay DeviceTemperature"},
    {ZvkFeatureDataEnum, 1,
     "PixelFormat PixelSize PixelColorFilter AcquisitionMode ExposureMode ExposureAuto GainSelector GainAuto "
     "BlackLevelSelector BalanceRatioSelector BalanceWhiteAuto TriggerSelector TriggerMode TriggerSource "
     "TriggerActivation TriggerOverlap LineSelector LineMode LineFormat LineSource UserOutputSelector "
     "CounterSelector CounterEventSource TimerSelector EventSelector LUTSelector UserSetSelector "
     "DeviceScanType"},
    {ZvkFeatureDataEnum, 2,
     "TestPattern UserSetDefault DeviceTemperatureSelector SensorShutterMode EventNotification "
     "DeviceLinkThroughputLimitMode ChunkSelector"},
    {ZvkFeatureDataString, 1,
     "DeviceVendorName DeviceModelName DeviceManufacturerInfo DeviceVersion DeviceFirmwareVersion DeviceID "
     "DeviceSerialNumber DeviceUserID"},
    {ZvkFeatureDataBool, 1,
     "ReverseX ReverseY AcquisitionStatus LineStatus LineInverter UserOutputValue LUTEnable ChunkModeActive "
     "ChunkEnable"},
    {ZvkFeatureDataCommand, 1,
     "AcquisitionStart AcquisitionStop AcquisitionAbort AcquisitionArm TriggerSoftware CounterReset "
     "TimerReset UserSetLoad UserSetSave DeviceReset"},
    {ZvkFeatureDataCommand, 2, "TimestampLatch TimestampReset"},
};

// Names of GenICam's Pixel Format Naming Convention (PFNC 2.4), and older ones, of codes that the SDK calls
// otherwise.
inline constexpr std::pair<const char*, ZvkPixelFormat_t> kOtherNames[] = {
    {"YUV411_8_UYYVYY", 0x020C001E}, {"YUV422_8_UYVY", 0x0210001F},
    {"YUV422_YUYV_", 0x02100032}, // and Packed
    {"YUV8_UYV", 0x02180020},        {"RGBa8", 0x02200016},
};

} // namespace maravel::certify
