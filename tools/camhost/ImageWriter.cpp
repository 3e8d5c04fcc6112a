#include "ImageWriter.h"

#include "OutputFile.h"

#include <utility>

namespace maravel::camhost {
namespace {

constexpr std::size_t kMostWaiting = 256u << 20;

} // namespace

ImageWriter::ImageWriter(std::filesystem::path folder, ContactSheet* sheet)
    : folder_(std::move(folder)), sheet_(sheet), thread_([this] { Run(); })
{
}

ImageWriter::~ImageWriter()
{
    Stop();
}

void ImageWriter::Add(Image image)
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return waitingBytes_ < kMostWaiting || failure_; });
    RethrowFailure();
    waitingBytes_ += image.bytes.size();
    waiting_.push_back(std::move(image));
    changed_.notify_all();
}

void ImageWriter::Finish()
{
    Stop();
    RethrowFailure();
}

void ImageWriter::Stop()
{
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

void ImageWriter::RethrowFailure()
{
    if (failure_) {
        std::rethrow_exception(failure_);
    }
}

void ImageWriter::Run()
{
    std::unique_lock lock(mutex_);
    while (!failure_) {
        changed_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
        if (waiting_.empty()) {
            return;
        }
        const Image image = std::move(waiting_.front());
        waiting_.pop_front();
        lock.unlock();
        std::exception_ptr failure;
        try {
            WriteWholeFile(folder_ / ImageFileName(image), EncodeImage(image));
            if (sheet_ != nullptr) {
                sheet_->Add(image);
            }
        }
        catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        failure_ = failure;
        waitingBytes_ -= image.bytes.size();
        changed_.notify_all();
    }
}

} // namespace maravel::camhost
