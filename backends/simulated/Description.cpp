#include "Description.h"

#include "PixelFormats.h"
#include "backends/common/Files.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <initializer_list>
#include <string_view>

// Numbers without the C++ streams, for the reason that Files.h has.
#define TOML_FLOAT_CHARCONV 1
#define TOML_ENABLE_WINDOWS_COMPAT 0
#include <toml++/toml.h>

namespace maravel::simulated {
namespace {

constexpr std::size_t MaxCameras = 32;

// What is wrong and where; ends the reading.
struct DescriptionError
{
    toml::source_position where;
    std::string what;
};

[[noreturn]] void Fail(const toml::node& node, std::string what)
{
    throw DescriptionError{node.source().begin, std::move(what)};
}

// One table of the description. Names the keys that it may have, and reads them with their ranges.
class TableReader
{
public:
    TableReader(const toml::table& table, std::string what, std::initializer_list<std::string_view> keys)
        : table_(table), what_(std::move(what))
    {
        for (const auto& [key, node] : table_) {
            if (std::find(keys.begin(), keys.end(), key.str()) != keys.end()) {
                continue;
            }
            std::string known;
            for (const std::string_view name : keys) {
                known += (known.empty() ? "" : ", ") + std::string(name);
            }
            throw DescriptionError{key.source().begin, "unknown key '" + std::string(key.str()) + "' of " +
                                                           what_ + "; expected one of: " + known};
        }
    }

    bool Has(const char* key) const { return table_.get(key) != nullptr; }

    std::string Text(const char* key, const char* expected) const
    {
        const toml::node& node = Required(key, expected);
        const auto value = node.value_exact<std::string>();
        if (!value || value->empty() || value->size() > 200) {
            Fail(node, std::string("'") + key + "' is to be " + expected);
        }
        return *value;
    }
    std::string Text(const char* key, const char* expected, const std::string& absent) const
    {
        return Has(key) ? Text(key, expected) : absent;
    }

    std::int64_t Int(const char* key, std::int64_t minimum, std::int64_t maximum) const
    {
        const std::string expected =
            "a whole number from " + std::to_string(minimum) + " to " + std::to_string(maximum);
        const toml::node& node = Required(key, expected);
        const auto value = node.value_exact<std::int64_t>();
        if (!value || *value < minimum || *value > maximum) {
            Fail(node, std::string("'") + key + "' is to be " + expected);
        }
        return *value;
    }
    std::uint32_t Int(const char* key, std::int64_t minimum, std::int64_t maximum, std::uint32_t absent) const
    {
        return Has(key) ? static_cast<std::uint32_t>(Int(key, minimum, maximum)) : absent;
    }

    double Real(const char* key, double minimum, double maximum, const char* expected) const
    {
        const toml::node& node = Required(key, expected);
        const auto value = node.value<double>();
        if (!value || !(*value >= minimum && *value <= maximum)) {
            Fail(node, std::string("'") + key + "' is to be " + expected);
        }
        return *value;
    }

    bool Bool(const char* key, bool absent) const
    {
        const toml::node* node = table_.get(key);
        if (node == nullptr) {
            return absent;
        }
        const auto value = node->value_exact<bool>();
        if (!value) {
            Fail(*node, std::string("'") + key + "' is to be true or false");
        }
        return *value;
    }

    // One of a few words.
    std::string Word(const char* key, std::initializer_list<const char*> words, const char* absent) const
    {
        const toml::node* node = table_.get(key);
        if (node == nullptr && absent != nullptr) {
            return absent;
        }
        std::string expected;
        for (const char* word : words) {
            expected += (expected.empty() ? "one of \"" : "\", \"") + std::string(word);
        }
        expected += "\"";
        const std::string value = Required(key, expected).value_exact<std::string>().value_or("");
        if (std::find(words.begin(), words.end(), value) == words.end()) {
            Fail(*node, std::string("'") + key + "' is to be " + expected);
        }
        return value;
    }

    std::vector<std::pair<std::string, const toml::node*>> Texts(const char* key, const char* expected) const
    {
        std::vector<std::pair<std::string, const toml::node*>> texts;
        const toml::node* node = table_.get(key);
        if (node == nullptr) {
            return texts;
        }
        const toml::array* array = node->as_array();
        if (array == nullptr) {
            Fail(*node, std::string("'") + key + "' is to be " + expected);
        }
        for (const toml::node& element : *array) {
            const auto value = element.value_exact<std::string>();
            if (!value) {
                Fail(element, std::string("'") + key + "' is to be " + expected);
            }
            texts.emplace_back(*value, &element);
        }
        return texts;
    }

    const toml::node& Required(const char* key, const std::string& expected) const
    {
        const toml::node* node = table_.get(key);
        if (node == nullptr) {
            Fail(table_, what_ + " has no '" + key + "'; expected " + expected);
        }
        return *node;
    }

    const toml::table& Table() const { return table_; }

private:
    const toml::table& table_;
    const std::string what_;
};

// A feature's value in the form that features parse.
std::string ValueText(const toml::node& node)
{
    if (const auto text = node.value_exact<std::string>()) {
        return *text;
    }
    if (const auto flag = node.value_exact<bool>()) {
        return *flag ? "true" : "false";
    }
    if (const auto number = node.value_exact<std::int64_t>()) {
        return std::to_string(*number);
    }
    if (const auto real = node.value_exact<double>()) {
        std::array<char, 40> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), *real).ptr;
        return std::string(digits.data(), end);
    }
    Fail(node, "a feature's value is to be a text, a number, true or false");
}

ExtraFeature ReadFeature(const toml::table& table)
{
    const TableReader reader(table, "a feature",
                             {"name", "type", "value", "description", "minimum", "maximum", "increment",
                              "entries", "unavailable_entries", "readable", "writable", "duration_ms"});
    ExtraFeature feature;
    feature.name = reader.Text("name", "a feature's name");
    feature.type = reader.Word("type", {"int", "float", "enum", "string", "bool", "command", "raw"}, nullptr);
    feature.description = reader.Text("description", "a text of at most 200 characters", "");
    feature.readable = reader.Bool("readable", true);
    feature.writable = reader.Bool("writable", true);
    feature.durationMs = reader.Int("duration_ms", 0, 600000, 0);
    const bool number = feature.type == "int" || feature.type == "float";
    if (number && reader.Has("minimum")) {
        feature.minimum = reader.Real("minimum", -1e300, 1e300, "a number");
    }
    else if (number) {
        feature.minimum = feature.type == "int" ? -9007199254740992.0 : -1e300;
    }
    if (number && reader.Has("maximum")) {
        feature.maximum = reader.Real("maximum", feature.minimum, 1e300, "a number not below 'minimum'");
    }
    else if (number) {
        feature.maximum = feature.type == "int" ? 9007199254740992.0 : 1e300;
    }
    feature.increment = reader.Int("increment", 1, INT32_MAX, 1);
    for (const auto& [entry, node] : reader.Texts("entries", "a list of texts")) {
        feature.entries.push_back(entry);
    }
    if (feature.type == "enum" && feature.entries.empty()) {
        Fail(table, "the enum feature '" + feature.name + "' has no 'entries'; expected a list of texts");
    }
    for (const auto& [entry, node] : reader.Texts("unavailable_entries", "a list of texts")) {
        if (std::find(feature.entries.begin(), feature.entries.end(), entry) == feature.entries.end()) {
            Fail(*node, "'" + entry + "' is not among the feature's 'entries'");
        }
        feature.unavailableEntries.push_back(entry);
    }
    if (const toml::node* value = table.get("value")) {
        feature.value = ValueText(*value);
    }
    return feature;
}

void ReadImage(const TableReader& reader, const std::filesystem::path& folder, CameraDescription* camera)
{
    camera->width = static_cast<std::uint32_t>(reader.Int("width", 16, 16384));
    camera->height = static_cast<std::uint32_t>(reader.Int("height", 16, 16384));
    const std::string expected = std::string("a list of pixel formats: ") + PixelFormatNames();
    const toml::node& list = reader.Required("pixel_formats", expected);
    for (const auto& [name, node] : reader.Texts("pixel_formats", expected.c_str())) {
        const PixelFormat* format = FindPixelFormat(name.c_str());
        if (format == nullptr) {
            Fail(*node, "unknown pixel format '" + name + "'; expected " + expected);
        }
        camera->pixelFormats.push_back(format);
    }
    if (camera->pixelFormats.empty()) {
        Fail(list, "'pixel_formats' is empty; expected " + expected);
    }
    camera->frameRate = reader.Real("frame_rate", 0.1, 10000.0, "frames a second from 0.1 to 10000");
    if (reader.Has("exposure_us")) {
        camera->exposureUs = reader.Real("exposure_us", 10.0, 1e7, "microseconds from 10 to 10000000");
    }
    camera->manual = reader.Word("source", {"pattern", "manual"}, "pattern") == "manual";
    camera->incompleteEvery = reader.Int("incomplete_every", 0, 1000000, 0);
    if (!reader.Has("pictures")) {
        return;
    }
    const std::string pictures = reader.Text("pictures", "a folder of PNG, PGM or PPM pictures");
    camera->pictures = folder / backend::PathFromUtf8(pictures);
    std::error_code error;
    if (!std::filesystem::is_directory(camera->pictures, error)) {
        Fail(*reader.Table().get("pictures"),
             "no folder '" + pictures +
                 "'; expected a folder of PNG, PGM or PPM pictures, counted from the SDK folder");
    }
}

CameraDescription ReadCamera(const toml::table& table, const std::filesystem::path& folder)
{
    const TableReader reader(table, "a camera",
                             {"id",
                              "model",
                              "vendor",
                              "serial",
                              "interface",
                              "transport_vendor",
                              "width",
                              "height",
                              "pixel_formats",
                              "frame_rate",
                              "exposure_us",
                              "generation",
                              "freerun_source",
                              "lines",
                              "packet_size",
                              "packet_negotiation_ms",
                              "streams",
                              "source",
                              "pictures",
                              "incomplete_every",
                              "remove",
                              "values",
                              "feature"});
    CameraDescription camera;
    camera.line = table.source().begin.line;
    camera.column = table.source().begin.column;
    camera.id = reader.Text("id", "a text that no other camera has");
    camera.model = reader.Text("model", "the model's name");
    camera.vendor = reader.Text("vendor", "the vendor's name", "Simulated Cameras");
    camera.serial = reader.Text("serial", "the serial number as a text", camera.id);
    camera.gigE = reader.Word("interface", {"GigE", "USB3"}, nullptr) == "GigE";
    camera.transportVendor =
        reader.Text("transport_vendor", "the vendor of the transport layer", "Simulated Transport");
    camera.legacy = reader.Word("generation", {"standard", "legacy"}, "standard") == "legacy";
    camera.freerunSource = reader.Bool("freerun_source", false);
    camera.lines = reader.Int("lines", 1, 8, 2);
    camera.packetSize = reader.Int("packet_size", 220, 16260, 0);
    camera.packetNegotiationMs = reader.Int("packet_negotiation_ms", 0, 600000, 0);
    camera.streams = reader.Int("streams", 0, 4, 1);
    ReadImage(reader, folder, &camera);
    for (const auto& [name, node] : reader.Texts("remove", "a list of feature names")) {
        camera.removed.push_back(name);
    }
    if (const toml::node* values = table.get("values")) {
        if (!values->is_table()) {
            Fail(*values, "'values' is to be a table of feature = value");
        }
        for (const auto& [key, node] : *values->as_table()) {
            camera.values.emplace_back(std::string(key.str()), ValueText(node));
        }
    }
    if (const toml::node* features = table.get("feature")) {
        if (!features->is_array_of_tables()) {
            Fail(*features, "'feature' is to be written as [[camera.feature]] tables");
        }
        for (const toml::node& feature : *features->as_array()) {
            camera.features.push_back(ReadFeature(*feature.as_table()));
        }
    }
    return camera;
}

void ReadFaults(const toml::table& root, std::vector<PlannedFault>* faults)
{
    const toml::node* list = root.get("fault");
    if (list == nullptr) {
        return;
    }
    if (!list->is_array_of_tables()) {
        Fail(*list, "'fault' is to be written as [[fault]] tables");
    }
    for (const toml::node& element : *list->as_array()) {
        const TableReader reader(*element.as_table(), "a fault", {"do"});
        const toml::node& node = reader.Required("do", "a text such as \"unplug 0 after 2s\"");
        std::string error;
        if (!ParseFaults(node.value_exact<std::string>().value_or("?"), faults, &error)) {
            Fail(node, error);
        }
    }
}

void ReadDescription(const toml::table& root, const std::filesystem::path& folder,
                     SimulationDescription* description)
{
    std::vector<CameraDescription>* cameras = &description->cameras;
    const TableReader reader(root, "the description", {"camera", "fault"});
    ReadFaults(root, &description->faults);
    const toml::node* list = root.get("camera");
    if (list == nullptr) {
        return; // no cameras is a description, too
    }
    if (!list->is_array_of_tables()) {
        Fail(*list, "'camera' is to be written as [[camera]] tables");
    }
    for (const toml::node& element : *list->as_array()) {
        if (cameras->size() == MaxCameras) {
            Fail(element, "too many cameras; expected at most " + std::to_string(MaxCameras));
        }
        CameraDescription camera = ReadCamera(*element.as_table(), folder);
        for (const CameraDescription& other : *cameras) {
            if (other.id == camera.id) {
                Fail(*element.as_table()->get("id"),
                     "the id '" + camera.id + "' is another camera's already");
            }
        }
        cameras->push_back(std::move(camera));
    }
}

} // namespace

bool ParseDescription(const std::string& text, const std::string& name, const std::filesystem::path& folder,
                      SimulationDescription* description, std::string* error)
{
    const auto report = [&](const toml::source_position& where, std::string_view what) {
        *error = name + ":" + std::to_string(where.line) + ":" + std::to_string(where.column) + ": " +
                 std::string(what);
        std::replace(error->begin(), error->end(), '\n', ' ');
        return false;
    };
    // toml++ 3.3 runs into its own unreachable code on some characters in keys; nothing here needs more than
    // ASCII.
    toml::source_position position = {1, 1};
    for (const char c : text) {
        if (static_cast<unsigned char>(c) > 0x7F) {
            return report(position, "only ASCII characters are taken here");
        }
        position.column = c == '\n' ? 1 : position.column + 1;
        position.line += c == '\n' ? 1 : 0;
    }
    try {
        ReadDescription(toml::parse(text, name), folder, description);
        return true;
    }
    catch (const toml::parse_error& failure) {
        return report(failure.source().begin, failure.description());
    }
    catch (const DescriptionError& failure) {
        return report(failure.where, failure.what);
    }
}

} // namespace maravel::simulated
