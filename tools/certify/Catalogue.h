// What the checks are called, why the adapter needs what they ask, and what to do when one fails: the rows of
// docs/certify.md, which is built into the program.
#pragma once

#include <string>
#include <vector>

namespace maravel::certify {

struct CheckText
{
    std::string id;     // "C3"
    std::string asks;   // in a few words
    std::string why;    // the adapter needs it
    std::string remedy; // when it fails
};

struct GroupText
{
    char letter = '?';
    std::string title;
    std::string level; // "sdk", "camera" or "adapter"
    std::vector<CheckText> checks;
};

// In the document's order.
const std::vector<GroupText>& Catalogue();

// Null for an unknown identifier.
const CheckText* FindText(const std::string& id);

} // namespace maravel::certify
