#include "diag/TextFormat.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace maravel {

namespace {

// The largest double has 309 digits before its point; a sign, a point, six decimals and the null follow.
constexpr std::size_t kFloatTextSize = 320;

class TextWriter
{
public:
    TextWriter(char* buffer, std::size_t size) noexcept
        : begin_(buffer), next_(buffer), end_(buffer + size - 1)
    {
    }

    void Put(char c) noexcept
    {
        if (next_ != end_) {
            *next_++ = c;
        }
    }

    void Put(const char* text, std::size_t length) noexcept
    {
        const auto room = static_cast<std::size_t>(end_ - next_);
        const std::size_t taken = length < room ? length : room;
        std::memcpy(next_, text, taken);
        next_ += taken;
    }

    // A text of unknown length is looked at only as far as it fits.
    void PutText(const char* text) noexcept
    {
        const auto room = static_cast<std::size_t>(end_ - next_);
        const void* null = std::memchr(text, '\0', room);
        Put(text, null != nullptr ? static_cast<std::size_t>(static_cast<const char*>(null) - text) : room);
    }

    void Repeat(char c, std::size_t count) noexcept
    {
        for (; count > 0; --count) {
            Put(c);
        }
    }

    std::size_t Finish() noexcept
    {
        *next_ = '\0';
        return static_cast<std::size_t>(next_ - begin_);
    }

private:
    char* begin_;
    char* next_;
    char* end_;
};

// One conversion: what stands between '%' and its letter.
struct Conversion
{
    bool zeroPadded = false;
    std::size_t width = 0;
    bool is64Bit = false;
    char letter = '\0';
};

// Reads the conversion after a '%' and moves the format behind it.
Conversion TakeConversion(const char*& format) noexcept
{
    Conversion conversion;
    for (; *format == '0'; ++format) {
        conversion.zeroPadded = true;
    }
    for (; *format >= '0' && *format <= '9'; ++format) {
        conversion.width = conversion.width * 10 + static_cast<std::size_t>(*format - '0');
    }
    if (format[0] == 'l' && format[1] == 'l') {
        conversion.is64Bit = true;
        format += 2;
    }
    conversion.letter = *format;
    format += *format != '\0' ? 1 : 0;
    return conversion;
}

// The base is a constant to the compiler: dividing by a variable would cost more than all the rest of a line.
template <unsigned Base>
void PutNumber(TextWriter& out, const Conversion& conversion, std::uint64_t magnitude, bool negative) noexcept
{
    char digits[20];
    char* first = digits + sizeof digits;
    do {
        *--first = "0123456789ABCDEF"[magnitude % Base];
        magnitude /= Base;
    } while (magnitude != 0);
    const auto count = static_cast<std::size_t>(digits + sizeof digits - first);
    const std::size_t length = count + (negative ? 1 : 0);
    const std::size_t padding = conversion.width > length ? conversion.width - length : 0;
    if (!conversion.zeroPadded) {
        out.Repeat(' ', padding);
    }
    if (negative) {
        out.Put('-');
    }
    if (conversion.zeroPadded) {
        out.Repeat('0', padding);
    }
    out.Put(first, count);
}

void PutSigned(TextWriter& out, const Conversion& conversion, std::int64_t value) noexcept
{
    const auto bits = static_cast<std::uint64_t>(value);
    PutNumber<10>(out, conversion, value < 0 ? 0 - bits : bits, value < 0);
}

// The C library prints the digits exactly, but with the locale's decimal mark, which can be several bytes:
// everything between the digits before it and the six after it becomes a point.
void PutFloat(TextWriter& out, double value) noexcept
{
    char text[kFloatTextSize];
    const int printed = std::snprintf(text, sizeof text, "%f", value);
    const std::size_t length = printed > 0 ? static_cast<std::size_t>(printed) : 0;
    std::size_t whole = text[0] == '-' ? 1 : 0;
    while (whole < length && text[whole] >= '0' && text[whole] <= '9') {
        ++whole;
    }
    if (whole == length || text[length - 1] < '0' || text[length - 1] > '9') {
        out.Put(text, length); // not a number, or infinite
        return;
    }
    out.Put(text, whole);
    out.Put('.');
    out.Put(text + length - 6, 6);
}

} // namespace

std::size_t FormatText(char* buffer, std::size_t size, const char* format, std::va_list arguments) noexcept
{
    if (size == 0) {
        return 0;
    }
    TextWriter out(buffer, size);
    while (*format != '\0') {
        if (*format != '%') {
            const char* plain = format;
            while (*format != '\0' && *format != '%') {
                ++format;
            }
            out.Put(plain, static_cast<std::size_t>(format - plain));
            continue;
        }
        ++format;
        // "% s" and "% d" print without their blank, like the C library prints a text and a negative number.
        while (*format == ' ') {
            ++format;
        }
        const Conversion conversion = TakeConversion(format);
        switch (conversion.letter) {
        case 's': {
            const char* text = va_arg(arguments, const char*);
            out.PutText(text != nullptr ? text : "(null)");
            break;
        }
        case 'd':
            PutSigned(out, conversion,
                      conversion.is64Bit ? va_arg(arguments, long long) : va_arg(arguments, int));
            break;
        case 'u':
        case 'X': {
            const std::uint64_t value =
                conversion.is64Bit ? va_arg(arguments, unsigned long long) : va_arg(arguments, unsigned int);
            conversion.letter == 'X' ? PutNumber<16>(out, conversion, value, false)
                                     : PutNumber<10>(out, conversion, value, false);
            break;
        }
        case 'f':
            PutFloat(out, va_arg(arguments, double));
            break;
        case '%':
            out.Put('%');
            break;
        default:
            break;
        }
    }
    return out.Finish();
}

int FormatErrorText(char* buffer, std::size_t size, const char* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::size_t length = FormatText(buffer, size, format, arguments);
    va_end(arguments);
    return static_cast<int>(length);
}

void CopyTextBounded(char* buffer, std::size_t size, const char* text) noexcept
{
    TextWriter out(buffer, size);
    out.PutText(text != nullptr ? text : "");
    out.Finish();
}

} // namespace maravel
