#include "Picture.h"

#include <algorithm>
#include <cstring>

namespace maravel::view {
namespace {

using camhost::Image;

// Reads a row's samples of one plane, whatever the pixel type.
class Plane
{
public:
    Plane(const Image& image, std::size_t plane) : image_(image)
    {
        const ImageAttributes& a = image.attributes;
        width_ = static_cast<std::size_t>(a.width);
        bytes_ = a.pixelType == PixelTypeMono8 || a.pixelType == PixelTypeRgbPlanes;
        wide_ = !bytes_ && a.pixelType != PixelTypeMono12Packed;
        first_ = plane * width_ * static_cast<std::size_t>(a.height);
    }

    bool HasBytes() const { return bytes_; }
    const std::uint8_t* Bytes(std::size_t x, std::size_t y) const
    {
        return image_.bytes.data() + first_ + y * width_ + x;
    }
    void Read(std::size_t x, std::size_t y, std::size_t count, std::uint16_t* samples) const
    {
        const std::size_t at = y * width_ + x;
        if (bytes_) {
            std::copy_n(Bytes(x, y), count, samples);
        }
        else if (wide_) {
            std::memcpy(samples, image_.bytes.data() + 2 * at, 2 * count);
        }
        else {
            for (std::size_t i = 0; i < count; ++i) {
                samples[i] = SampleAt(image_, at + i);
            }
        }
    }

private:
    const Image& image_;
    std::size_t width_ = 0, first_ = 0;
    bool bytes_ = false, wide_ = false;
};

std::size_t PlanesOf(const Image& image)
{
    return image.attributes.pixelType == PixelTypeRgbPlanes ? 3 : 1;
}

// The shades of the values between the black and the white point.
std::vector<std::uint8_t> Shades(std::int32_t pixelType, const Viewport& viewport)
{
    const std::size_t values = std::size_t{1} << camhost::SampleDepth(pixelType);
    const std::size_t black = std::min<std::size_t>(viewport.black, values - 2);
    const std::size_t asked = viewport.white == 0 ? values - 1 : viewport.white;
    const std::size_t white = std::clamp(asked, black + 1, values - 1);
    std::vector<std::uint8_t> shades(values);
    for (std::size_t value = 0; value < values; ++value) {
        const std::size_t above = std::clamp(value, black, white) - black;
        shades[value] = static_cast<std::uint8_t>((above * 255 + (white - black) / 2) / (white - black));
    }
    return shades;
}

// The smallest square of the camera's pixels whose means are few enough.
std::uint32_t ReductionFor(const Rectangle& part, std::uint32_t maxPixels)
{
    const std::uint64_t most = std::max<std::uint32_t>(maxPixels, 64);
    std::uint32_t r = 1;
    while (std::uint64_t{(part.width + r - 1) / r} * ((part.height + r - 1) / r) > most) {
        ++r;
    }
    return std::min({r, part.width, part.height});
}

// Adds a row up: `sums` has one place for each sample.
void AddRow(const Plane& plane, std::size_t x, std::size_t y, std::vector<std::uint16_t>& row,
            std::vector<std::uint32_t>& sums)
{
    const std::size_t count = sums.size();
    if (plane.HasBytes()) {
        const std::uint8_t* bytes = plane.Bytes(x, y);
        for (std::size_t i = 0; i < count; ++i) {
            sums[i] += bytes[i];
        }
        return;
    }
    plane.Read(x, y, count, row.data());
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] += row[i];
    }
}

struct Target
{
    std::uint8_t* bytes;
    std::size_t width, height, step;
};

void CopyExactly(const Plane& plane, const Rectangle& part, const std::vector<std::uint8_t>& shades,
                 const Target& to)
{
    std::vector<std::uint16_t> row(part.width);
    for (std::size_t y = 0; y < part.height; ++y) {
        plane.Read(part.x, part.y + y, part.width, row.data());
        std::uint8_t* out = to.bytes + y * to.width * to.step;
        for (std::size_t x = 0; x < part.width; ++x) {
            out[x * to.step] = shades[row[x] & (shades.size() - 1)];
        }
    }
}

void CopyMeans(const Plane& plane, const Rectangle& part, std::uint32_t r,
               const std::vector<std::uint8_t>& shades, const Target& to)
{
    std::vector<std::uint16_t> row(part.width);
    std::vector<std::uint32_t> sums(to.width * r);
    const std::uint64_t reciprocal = (std::uint64_t{1} << 40) / (std::uint64_t{r} * r) + 1;
    for (std::size_t y = 0; y < to.height; ++y) {
        std::ranges::fill(sums, 0u);
        for (std::size_t line = 0; line < r; ++line) {
            AddRow(plane, part.x, part.y + y * r + line, row, sums);
        }
        std::uint8_t* out = to.bytes + y * to.width * to.step;
        const std::uint32_t* from = sums.data();
        for (std::size_t x = 0; x < to.width; ++x, from += r) {
            std::uint64_t sum = 0;
            for (std::size_t i = 0; i < r; ++i) {
                sum += from[i];
            }
            out[x * to.step] = shades[(sum * reciprocal >> 40) & (shades.size() - 1)];
        }
    }
}

// Sizes that do not divide lose the last columns and rows of a reduced picture.
std::uint32_t RenderPart(const Image& image, const Viewport& viewport, const Rectangle& part,
                         std::vector<std::uint8_t>* out, Target* size)
{
    const std::uint32_t r = ReductionFor(part, viewport.maxPixels);
    const std::size_t planes = PlanesOf(image), before = out->size();
    *size = {nullptr, part.width / r, part.height / r, planes};
    out->resize(before + size->width * size->height * planes);
    const std::vector<std::uint8_t> shades = Shades(image.attributes.pixelType, viewport);
    for (std::size_t plane = 0; plane < planes; ++plane) {
        size->bytes = out->data() + before + plane;
        if (r == 1) {
            CopyExactly(Plane(image, plane), part, shades, *size);
        }
        else {
            CopyMeans(Plane(image, plane), part, r, shades, *size);
        }
    }
    return r;
}

} // namespace

Rectangle Clip(const Viewport& viewport, const ImageAttributes& attributes)
{
    const auto fullWidth = static_cast<std::uint32_t>(attributes.width);
    const auto fullHeight = static_cast<std::uint32_t>(attributes.height);
    if (viewport.width == 0 || viewport.height == 0) {
        return {0, 0, fullWidth, fullHeight};
    }
    const std::uint32_t x = std::min(viewport.x, fullWidth - 1), y = std::min(viewport.y, fullHeight - 1);
    return {x, y, std::min(viewport.width, fullWidth - x), std::min(viewport.height, fullHeight - y)};
}

void RenderRecord(const Image& image, const Viewport& viewport, std::uint16_t channel, std::uint64_t sequence,
                  std::vector<std::uint8_t>* out)
{
    const std::size_t at = out->size();
    out->resize(at + sizeof(StreamRecord));
    const Rectangle part = Clip(viewport, image.attributes);
    Target size{};
    StreamRecord record;
    record.reduction = RenderPart(image, viewport, part, out, &size);
    record.payloadBytes = static_cast<std::uint32_t>(out->size() - at - sizeof(StreamRecord));
    record.encoding = size.step == 3 ? Encoding::Rgb8 : Encoding::Gray8;
    record.channel = channel;
    record.fullWidth = static_cast<std::uint32_t>(image.attributes.width);
    record.fullHeight = static_cast<std::uint32_t>(image.attributes.height);
    record.x = part.x;
    record.y = part.y;
    record.width = static_cast<std::uint32_t>(size.width);
    record.height = static_cast<std::uint32_t>(size.height);
    record.pixelType = static_cast<std::uint32_t>(image.attributes.pixelType);
    record.sequence = sequence;
    record.deviceTimestamp = image.attributes.timestamp;
    std::memcpy(out->data() + at, &record, sizeof(record));
}

Pixels8 Render(const Image& image, const Viewport& viewport)
{
    Pixels8 pixels;
    Target size{};
    RenderPart(image, viewport, Clip(viewport, image.attributes), &pixels.bytes, &size);
    pixels.width = static_cast<int>(size.width);
    pixels.height = static_cast<int>(size.height);
    pixels.channels = static_cast<int>(size.step);
    return pixels;
}

std::vector<std::uint16_t> ValuesOf(const Image& image, const Rectangle& part)
{
    const std::size_t planes = PlanesOf(image);
    std::vector<std::uint16_t> values(std::size_t{part.width} * part.height * planes), row(part.width);
    for (std::size_t plane = 0; plane < planes; ++plane) {
        for (std::size_t y = 0; y < part.height; ++y) {
            Plane(image, plane).Read(part.x, part.y + y, part.width, row.data());
            for (std::size_t x = 0; x < part.width; ++x) {
                values[(y * part.width + x) * planes + plane] = row[x];
            }
        }
    }
    return values;
}

Histogram CountValues(const Image& image, const Rectangle& part)
{
    Histogram histogram;
    const unsigned shift = camhost::SampleDepth(image.attributes.pixelType) - 8;
    const unsigned last = (256u << shift) - 1;
    std::vector<std::uint16_t> row(part.width);
    histogram.bins.resize(PlanesOf(image));
    for (std::size_t plane = 0; plane < histogram.bins.size(); ++plane) {
        for (std::size_t y = 0; y < part.height; ++y) {
            Plane(image, plane).Read(part.x, part.y + y, part.width, row.data());
            for (const std::uint16_t value : row) {
                ++histogram.bins[plane][(value >> shift) & 255];
                histogram.darkest += value == 0;
                histogram.brightest += value >= last;
            }
            histogram.samples += row.size();
        }
    }
    return histogram;
}

} // namespace maravel::view
