// Finds a feature's position in a channel's feature list by its exact name.
#pragma once

#include "sdk/ZvkTypes.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>

namespace maravel {

// Gives the same answer as walking the list from its start and taking the first record whose name is equal
// byte for byte, without the walk. The names must outlive the index.
class FeatureNameIndex
{
public:
    static constexpr std::size_t NotFound = static_cast<std::size_t>(-1);

    // Replaces what the index held. A record with a null name is never found.
    void Build(const ZvkFeatureInfo_t* features, std::size_t count)
    {
        positions_.clear();
        positions_.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            if (features[i].name != nullptr) {
                positions_.emplace(features[i].name,
                                   static_cast<std::uint32_t>(i)); // the first of equal names stays
            }
        }
    }

    void Clear() noexcept { positions_.clear(); }

    std::size_t Find(std::string_view name) const
    {
        const auto found = positions_.find(name);
        return found == positions_.end() ? NotFound : found->second;
    }

private:
    std::unordered_map<std::string_view, std::uint32_t> positions_;
};

} // namespace maravel
