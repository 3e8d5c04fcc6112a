// The page's files, put into the program by the build.
#pragma once

#include <span>
#include <string_view>

namespace maravel::view {

struct PageFile
{
    const char* name;
    const char* type;                      // empty: not served
    std::span<const unsigned char> bytes;  // as they are
    std::span<const unsigned char> packed; // by gzip
    const char* tag;                       // changes with the content
};

std::span<const PageFile> PageFiles();
const PageFile* FindPageFile(std::string_view name);

} // namespace maravel::view
