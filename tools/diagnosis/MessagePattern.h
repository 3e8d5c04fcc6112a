// A printf-style text, taken apart to recognise what it printed.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace maravel::diagnosis {

enum class Kind : std::uint8_t
{
    Literal,
    Text,
    Integer,
    Hexadecimal,
    Float
};

enum class Role : std::uint8_t
{
    None,
    Channel,
    Reason,
    Code
};

struct Piece
{
    Kind kind = Kind::Literal;
    Role role = Role::None;
    std::string literal;
};

constexpr bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Splits the text at its placeholders.
std::vector<Piece> SplitPattern(std::string_view text);

// Fits pieces to the rest of a line. A cut line may end anywhere.
class Fitting
{
public:
    Fitting(const std::vector<Piece>& pieces, bool cut) : pieces_(pieces), cut_(cut) {}

    bool Fits(std::size_t piece, std::string_view rest);

    std::array<std::string_view, 24> values; // by piece

private:
    bool FitsText(std::size_t piece, std::string_view rest);
    void Keep(std::size_t piece, std::string_view value);

    const std::vector<Piece>& pieces_;
    const bool cut_;
    std::size_t tries_ = 0;
};

} // namespace maravel::diagnosis
