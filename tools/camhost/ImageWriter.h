// Encodes and writes images on a thread of its own, so that the camera does not wait for the disk.
#pragma once

#include "ContactSheet.h"
#include "Image.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <filesystem>
#include <mutex>
#include <thread>

namespace maravel::camhost {

class ImageWriter
{
public:
    // A null sheet: none is wanted. The sheet must not be touched before Finish has returned.
    ImageWriter(std::filesystem::path folder, ContactSheet* sheet);
    ~ImageWriter();
    ImageWriter(const ImageWriter&) = delete;
    ImageWriter& operator=(const ImageWriter&) = delete;

    // Waits while more than 256 MiB are to be written. Throws what an earlier image failed with.
    void Add(Image image);

    // Writes what is left. Throws what an image failed with.
    void Finish();

private:
    void Run();
    void Stop();
    void RethrowFailure();

    const std::filesystem::path folder_;
    ContactSheet* const sheet_;
    std::mutex mutex_; // guards the fields below
    std::condition_variable changed_;
    std::deque<Image> waiting_;
    std::size_t waitingBytes_ = 0;
    bool stopping_ = false;
    std::exception_ptr failure_;
    std::thread thread_;
};

} // namespace maravel::camhost
