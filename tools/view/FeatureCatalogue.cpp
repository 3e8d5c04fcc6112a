#include "FeatureCatalogue.h"

#include "PageFiles.h"

#include <map>
#include <vector>

namespace maravel::view {
namespace {

struct Catalogue
{
    std::map<std::string, FeaturePlace, std::less<>> names;
    std::vector<std::pair<std::string, FeaturePlace>> beginnings; // the earlier one counts
};

void AddWord(std::string word, const std::string& category, Catalogue* catalogue)
{
    FeaturePlace place{category, "", "Beginner"};
    if (const std::size_t mark = word.find('!'); mark != std::string::npos) {
        place.visibility = word[mark + 1] == 'E' ? "Expert" : "Guru";
        word.resize(mark);
    }
    if (const std::size_t colon = word.find(':'); colon != std::string::npos) {
        place.unit = word.substr(colon + 1);
        word.resize(colon);
    }
    if (word.ends_with('*')) {
        catalogue->beginnings.emplace_back(word.substr(0, word.size() - 1), place);
    }
    else {
        catalogue->names.emplace(word, place);
    }
}

Catalogue ReadCatalogue()
{
    Catalogue catalogue;
    const PageFile* file = FindPageFile("sfnc.txt");
    std::string_view text(reinterpret_cast<const char*>(file->bytes.data()), file->bytes.size());
    std::string category;
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        if (line.starts_with('@')) {
            category = line.substr(1);
        }
        else if (!line.starts_with('#')) {
            while (!line.empty()) {
                const std::string_view word = line.substr(0, line.find(' '));
                line.remove_prefix(std::min(line.size(), word.size() + 1));
                if (!word.empty()) {
                    AddWord(std::string(word), category, &catalogue);
                }
            }
        }
    }
    return catalogue;
}

} // namespace

FeaturePlace PlaceOf(std::string_view feature)
{
    static const Catalogue catalogue = ReadCatalogue();
    if (const auto found = catalogue.names.find(feature); found != catalogue.names.end()) {
        return found->second;
    }
    for (const auto& [beginning, place] : catalogue.beginnings) {
        if (feature.starts_with(beginning)) {
            return place;
        }
    }
    return {};
}

} // namespace maravel::view
