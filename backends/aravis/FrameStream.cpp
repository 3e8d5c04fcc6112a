#include "FrameStream.h"

#include "backends/common/WorkerThread.h"

#include <algorithm>

namespace maravel::aravis {

using backend::Lock;

namespace {

constexpr std::int32_t kIncomplete = -1;
constexpr std::int32_t kTooSmall = -2;
constexpr std::int32_t kInvalid = -3;

constexpr std::uint32_t kAllFieldsFilled = 0x1F;

// The system's default holds less than one picture. It grants no more than net.core.rmem_max.
constexpr int kSocketBufferBytes = 4 * 1024 * 1024;

// Raw packet sockets do not see what comes over the loopback interface.
void ChooseSocket(ArvGvDevice* device)
{
    GSocketAddress* address = arv_gv_device_get_interface_address(device); // stays the device's
    if (!G_IS_INET_SOCKET_ADDRESS(address)) {
        return;
    }
    GInetAddress* host = g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(address));
    if (g_inet_address_get_is_loopback(host)) {
        arv_gv_device_set_stream_options(device, ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
    }
}

std::int32_t ReceiveStatus(ArvBufferStatus status)
{
    switch (status) {
    case ARV_BUFFER_STATUS_SUCCESS:
        return 0;
    case ARV_BUFFER_STATUS_SIZE_MISMATCH:
        return kTooSmall;
    default:
        return kIncomplete;
    }
}

// Writes what the caller reads of a frame.
void FillRecord(ZvkFrame_t* frame, ArvBuffer* buffer)
{
    frame->receiveStatus = ReceiveStatus(arv_buffer_get_status(buffer));
    frame->timestamp = arv_buffer_get_timestamp(buffer);
    frame->imageSize = frame->width = frame->height = frame->offsetX = frame->offsetY = 0;
    frame->pixelFormat = 0;
    frame->receiveFlags = 0;
    frame->ancillarySize = 0;
    // Aravis tells nothing of the image in a buffer that is not complete.
    const bool hasImage = frame->receiveStatus == 0 && arv_buffer_get_n_parts(buffer) > 0 &&
                          arv_buffer_get_part_data_type(buffer, 0) == ARV_BUFFER_PART_DATA_TYPE_2D_IMAGE;
    std::size_t size = 0;
    const void* image = hasImage ? arv_buffer_get_part_data(buffer, 0, &size) : nullptr;
    // A complete payload without an image at its start is nothing that a caller could use.
    if (image != frame->buffer) {
        if (frame->receiveStatus == 0) {
            frame->receiveStatus = kInvalid;
        }
        return;
    }
    frame->imageSize = static_cast<std::uint32_t>(size);
    frame->pixelFormat = arv_buffer_get_part_pixel_format(buffer, 0);
    frame->width = static_cast<std::uint32_t>(arv_buffer_get_part_width(buffer, 0));
    frame->height = static_cast<std::uint32_t>(arv_buffer_get_part_height(buffer, 0));
    frame->offsetX = static_cast<std::uint32_t>(arv_buffer_get_part_x(buffer, 0));
    frame->offsetY = static_cast<std::uint32_t>(arv_buffer_get_part_y(buffer, 0));
    frame->receiveFlags = kAllFieldsFilled;
}

} // namespace

std::uint64_t FrameNumbers::Next(std::uint64_t sent)
{
    // GigE Vision's first numbers have 16 bits and go from 65535 to 1, because 0 has a meaning of its own.
    constexpr std::uint64_t cycle = 0xFFFF;
    if (first_) {
        last_ = 0;
    }
    else if (sent >= lastSent_) {
        last_ += sent - lastSent_;
    }
    else if (lastSent_ <= cycle) {
        last_ += sent + cycle - lastSent_;
    }
    first_ = false;
    lastSent_ = sent;
    return last_;
}

bool FrameStream::IsOnOwnThread() const
{
    return thread_.load() == backend::WorkerThread::CurrentThread();
}

bool FrameStream::IsCapturing()
{
    Lock lock(mutex_);
    return stream_ != nullptr;
}

ZvkError_t FrameStream::Start(ArvDevice* device, ZvkHandle_t camera, ZvkHandle_t stream,
                              std::uint64_t payloadSize)
{
    Lock capture(captureMutex_);
    if (IsCapturing()) {
        return ZvkErrorAlready;
    }
    cameraHandle_ = camera;
    streamHandle_ = stream;
    if (ARV_IS_GV_DEVICE(device)) {
        ChooseSocket(ARV_GV_DEVICE(device));
    }
    Outcome outcome;
    ObjectPtr<ArvStream> made(
        arv_device_create_stream(device, &FrameStream::OnStreamEvent, this, outcome.Slot()));
    if (made == nullptr) {
        return outcome.Failed() ? outcome.Code() : ZvkErrorResources;
    }
    if (ARV_IS_GV_STREAM(made.get())) {
        // The thread looks at these when it starts; later, they cost the first frame.
        arv_stream_stop_thread(made.get(), 0);
        g_object_set(made.get(), "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size",
                     kSocketBufferBytes, nullptr);
        arv_stream_start_thread(made.get());
    }
    Lock lock(mutex_);
    stream_ = made.release();
    payloadSize_ = payloadSize;
    numbers_.Restart();
    for (const Buffer& buffer : buffers_) {
        if (pool_.IsPending(buffer.frame)) {
            Push(buffer.frame);
        }
    }
    return ZvkErrorSuccess;
}

ZvkError_t FrameStream::End() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    Lock capture(captureMutex_);
    Lock lock(mutex_);
    if (stream_ == nullptr) {
        return ZvkErrorSuccess;
    }
    draining_ = true;
    ArvStream* stream = stream_;
    lock.Unlock();
    g_object_unref(stream); // waits for its thread and drops its references to the buffers
    lock.Relock();
    stream_ = nullptr;
    draining_ = false;
    idle_.WakeAll();
    return ZvkErrorSuccess;
}

ZvkError_t FrameStream::Flush() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    Lock capture(captureMutex_);
    Lock lock(mutex_);
    if (stream_ != nullptr) {
        // Aravis gives a queued buffer back only with the thread that fills it.
        draining_ = true;
        ArvStream* stream = stream_;
        lock.Unlock();
        arv_stream_stop_thread(stream, 1);
        lock.Relock();
        draining_ = false;
        pool_.Flush();
        arv_stream_start_thread(stream);
    }
    else {
        pool_.Flush();
    }
    idle_.WakeAll();
    return ZvkErrorSuccess;
}

void FrameStream::Clear()
{
    End();
    Flush();
    RevokeAll();
}

ZvkError_t FrameStream::Announce(const ZvkFrame_t* frame, std::uint64_t payloadSize)
{
    Lock lock(mutex_);
    const backend::FramePool::Answer answer = pool_.Announce(frame, payloadSize);
    if (answer.code == ZvkErrorSuccess) {
        buffers_.push_back(
            {frame, ObjectPtr<ArvBuffer>(arv_buffer_new_full(frame->bufferSize, frame->buffer,
                                                             const_cast<ZvkFrame_t*>(frame), nullptr))});
    }
    return answer.code;
}

ZvkError_t FrameStream::Revoke(const ZvkFrame_t* frame)
{
    if (!IsOnOwnThread()) {
        WaitIdle();
    }
    Lock lock(mutex_);
    const backend::FramePool::Answer answer = pool_.Revoke(frame);
    if (answer.code == ZvkErrorSuccess) {
        std::erase_if(buffers_, [frame](const Buffer& buffer) { return buffer.frame == frame; });
    }
    return answer.code;
}

ZvkError_t FrameStream::RevokeAll()
{
    if (!IsOnOwnThread()) {
        WaitIdle();
    }
    Lock lock(mutex_);
    const backend::FramePool::Answer answer = pool_.RevokeAll();
    if (answer.code == ZvkErrorSuccess) {
        buffers_.clear();
    }
    return answer.code;
}

ZvkError_t FrameStream::Queue(const ZvkFrame_t* frame, ZvkFrameCallback callback)
{
    Lock lock(mutex_);
    if (stream_ == nullptr) {
        return ZvkErrorInvalidCall;
    }
    const backend::FramePool::Answer answer = pool_.Queue(frame, callback, payloadSize_);
    if (answer.code == ZvkErrorSuccess && !draining_) {
        Push(frame);
    }
    return answer.code;
}

void FrameStream::Push(const ZvkFrame_t* frame)
{
    const auto found = std::find_if(buffers_.begin(), buffers_.end(),
                                    [frame](const Buffer& buffer) { return buffer.frame == frame; });
    arv_stream_push_buffer(stream_, Share(found->buffer.get()).release());
}

void FrameStream::WaitIdle() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    Lock lock(mutex_);
    while (busy_) {
        idle_.Wait(mutex_);
    }
}

ZvkError_t FrameStream::Wait(const ZvkFrame_t* frame,
                             std::chrono::milliseconds timeout) MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    const auto until = std::chrono::steady_clock::now() + timeout;
    Lock lock(mutex_);
    if (!pool_.IsAnnounced(frame)) {
        return ZvkErrorNotFound;
    }
    while (pool_.IsPending(frame)) {
        if (!idle_.WaitUntil(mutex_, until) && pool_.IsPending(frame)) {
            return ZvkErrorTimeout;
        }
    }
    return ZvkErrorSuccess;
}

void FrameStream::RestartNumbers()
{
    Lock lock(mutex_);
    numbers_.Restart();
}

void FrameStream::OnStreamEvent(void* stream, ArvStreamCallbackType type, ArvBuffer*)
{
    auto* self = static_cast<FrameStream*>(stream);
    switch (type) {
    case ARV_STREAM_CALLBACK_TYPE_INIT:
        self->thread_.store(backend::WorkerThread::CurrentThread());
        break;
    case ARV_STREAM_CALLBACK_TYPE_EXIT:
        self->thread_.store(0);
        break;
    case ARV_STREAM_CALLBACK_TYPE_BUFFER_DONE:
        self->OnBufferDone();
        break;
    default:
        break;
    }
}

void FrameStream::OnBufferDone() MARAVEL_NO_THREAD_SAFETY_ANALYSIS
{
    Lock lock(mutex_);
    // While the stream is drained its buffers stay in it and go with it.
    if (draining_ || stream_ == nullptr) {
        return;
    }
    const ObjectPtr<ArvBuffer> buffer(arv_stream_try_pop_buffer(stream_));
    if (buffer == nullptr) {
        return;
    }
    auto* frame = static_cast<ZvkFrame_t*>(const_cast<void*>(arv_buffer_get_user_data(buffer.get())));
    const backend::FramePool::Taken taken = pool_.Take(frame);
    if (taken.record == nullptr) {
        return;
    }
    FillRecord(frame, buffer.get());
    frame->frameId = numbers_.Next(arv_buffer_get_frame_id(buffer.get()));
    pool_.Deliver(frame);
    busy_ = true;
    lock.Unlock();
    if (taken.callback != nullptr) {
        taken.callback(cameraHandle_, streamHandle_, frame);
    }
    lock.Relock();
    busy_ = false;
    idle_.WakeAll();
}

} // namespace maravel::aravis
