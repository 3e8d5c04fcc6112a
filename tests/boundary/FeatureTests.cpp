// Features by name: values as text, commands, introspection.
#include "boundary/AdapterTest.h"

#include "sdk/ZvkTypes.h"

#include <chrono>
#include <clocale>

namespace maravel::test {

namespace {

// Features with the corner values that the tests need, on the first camera.
const char* const kExtraFeatures = R"(
[[camera.feature]]
name = "TestInt"
type = "int"
value = "7"
minimum = -5
maximum = 4095
description = "An integer 100% ours"
[[camera.feature]]
name = "TestPositive"
type = "int"
value = "20"
minimum = 10
maximum = 4095
[[camera.feature]]
name = "TestFloat"
type = "float"
value = "12.5"
minimum = 10.0
maximum = 1000.0
[[camera.feature]]
name = "TestEnum"
type = "enum"
value = "Off"
entries = ["Off", "Once", "Continuous"]
unavailable_entries = ["Once"]
[[camera.feature]]
name = "TestBool"
type = "bool"
value = "false"
[[camera.feature]]
name = "TestString"
type = "string"
value = "hello"
[[camera.feature]]
name = "TestCommand"
type = "command"
[[camera.feature]]
name = "TestRaw"
type = "raw"
[[camera.feature]]
name = "TestReadOnly"
type = "int"
value = "1"
minimum = 0
maximum = 9
writable = false
)";

class FeatureTest : public AdapterTest
{
protected:
    FeatureTest()
    {
        description_ = kTestCameras;
        description_.insert(description_.find("[[camera]]", 20), kExtraFeatures);
        Restore();
        Open();
        ClearLog();
    }

    void Restore()
    {
        sdk.SimReset();
        sdk.SimSetDescription(description_.c_str());
    }

    std::string description_;
};

TEST_F(FeatureTest, ValuesThereAndBack)
{
    struct Row
    {
        const char* name;
        const char* written;
        const char* read;
        const char* line; // the log's last line of the write
    };
    const Row rows[] = {
        {"TestInt", "-1", "18446744073709551615", "WriteValue: 'TestInt' set to '-1'"},
        {"TestInt", "18446744073709551615", "18446744073709551615", "WriteValue: 'TestInt' set to '-1'"},
        {"TestInt", "100000", "4095", "WriteValue: 'TestInt' set to '4095'"},
        {"TestInt", "-1000", "18446744073709551611", "WriteValue: 'TestInt' set to '-5'"},
        {"TestInt", " 12abc", "12", "WriteValue: 'TestInt' set to '12'"},
        {"TestInt", "abc", "0", "WriteValue: 'TestInt' set to '0'"},
        {"TestPositive", "abc", "10", "WriteValue: 'TestPositive' set to '10'"},
        {"TestFloat", "1e-3", "10.000000", "WriteValue: ZvkFeatureDataFloat: 'TestFloat' set to '10.000000'"},
        {"TestFloat", "123.456789", "123.456789",
         "WriteValue: ZvkFeatureDataFloat: 'TestFloat' set to '123.456789'"},
        {"TestFloat", "1e300", "1000.000000",
         "WriteValue: ZvkFeatureDataFloat: 'TestFloat' set to '1000.000000'"},
        {"TestFloat", "x", "10.000000", "WriteValue: ZvkFeatureDataFloat: 'TestFloat' set to '10.000000'"},
        {"TestEnum", "Continuous", "Continuous",
         " WriteValue: ZvkFeatureDataEnum: 'TestEnum' set to 'Continuous'"},
        {"TestString", "50% off %s", "50% off %s",
         "WriteValue(): ZvkFeatureDataString 'TestString' set to '50% off %s'"},
        {"TestBool", "True", "True", "WriteValue(): ZvkFeatureDataBool 'TestBool' set to 'True'"},
        {"TestBool", "true", "False", "WriteValue(): ZvkFeatureDataBool 'TestBool' set to 'true'"},
        {"TestBool", "True", "True", "WriteValue(): ZvkFeatureDataBool 'TestBool' set to 'True'"},
        {"TestBool", "1", "False", "WriteValue(): ZvkFeatureDataBool 'TestBool' set to '1'"},
        {"TestBool", "True ", "False", "WriteValue(): ZvkFeatureDataBool 'TestBool' set to 'True '"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.name) + " " + row.written);
        EXPECT_EQ(Write(0, row.name, row.written), 0) << TextNow();
        const std::vector<std::string> log = Log();
        EXPECT_EQ(log.back(), row.line);
        EXPECT_EQ(log.front().find("WriteValue: channelID=0, addr='" + std::string(row.name) + "', val='" +
                                   row.written + "'"),
                  0u);
        EXPECT_EQ(Read(0, row.name), row.read) << TextNow();
        EXPECT_EQ(Log().back(), "ReadValue: channelID=0, addr='" + std::string(row.name) + "'");
        EXPECT_EQ(TextNow(), "");
        ClearLog();
        // The first access opens the camera, which the second row no longer does.
        if (&row == rows) {
            EXPECT_EQ(sdk.State().openCameras, 1u);
        }
    }
    EXPECT_EQ(sdk.SimCallCount("ZvkCameraOpen"), 4u);
    ASSERT_EQ(Write(0, "TestBool", "True"), 0);
    EXPECT_EQ(sdk.Calls().back(), "ZvkFeatureBoolSet(camera 0, TestBool, 1) = 0");
}

TEST_F(FeatureTest, NumbersDoNotFollowTheHostsLocale)
{
    if (!UseDecimalComma()) {
        GTEST_SKIP() << "no locale with a decimal comma on this machine";
    }
    EXPECT_EQ(Write(0, "TestFloat", "12.75"), 0);
    EXPECT_EQ(Read(0, "TestFloat"), "12.750000");
    EXPECT_EQ(CountInLog("WriteValue: ZvkFeatureDataFloat: 'TestFloat' set to '12.750000'"), 1);
    std::setlocale(LC_ALL, "C");
}

TEST_F(FeatureTest, CommandsAndUnknownTypesHaveNoValue)
{
    ExpectErrors();
    Read(0, "TestCommand");
    EXPECT_EQ(Result(), 0);
    EXPECT_TRUE(IsTextUntouched());
    EXPECT_EQ(Write(0, "TestCommand", "1"), 1);
    EXPECT_EQ(Log().back(), "WriteValue: WARNING. ZvkFeatureDataCommand called (unhandeled).");
    EXPECT_EQ(TextNow(), "");
    EXPECT_EQ(Write(0, "TestRaw", "1"), 1);
    EXPECT_EQ(Log().back(), "WriteValue: WARNING. Unknown featureDataType (unhandeled).");
    EXPECT_EQ(TextNow(), "");
    Read(0, "TestRaw");
    EXPECT_EQ(TextNow(), "ReadValue: ERROR for feature 'TestRaw'. Unknown feature type=7.");
}

TEST_F(FeatureTest, Failures)
{
    ExpectErrors();
    struct Row
    {
        SimFault fault;
        const char* name;
        const char* value; // null: read
        const char* text;
    };
    // clang-format off
    const Row rows[] = {
        {{"ZvkFeatureIntGet", 1, -12, 0}, "TestInt", nullptr, "ReadValue: ERROR for feature 'TestInt' [ZvkFeatureDataInt]. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureFloatGet", 1, -12, 0}, "TestFloat", nullptr, "ReadValue: ERROR for feature 'TestFloat' [ZvkFeatureDataFloat]. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureEnumGet", 1, -12, 0}, "TestEnum", nullptr, "ReadValue: ERROR for feature 'TestEnum' [ZvkFeatureDataEnum]. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureStringGet", 1, -12, 0}, "TestString", nullptr, "ReadValue: ERROR for feature 'TestString' [ZvkFeatureDataString]. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureBoolGet", 1, -12, 0}, "TestBool", nullptr, "ReadValue: ERROR for feature 'TestBool' [ZvkFeatureDataBool]. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureIntRangeQuery", 1, -12, 0}, "TestInt", "1", "WriteValue: ERROR. ZvkFeatureIntRangeQuery for feature 'TestInt' failed. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureIntSet", 1, -12, 0}, "TestInt", "-1", "WriteValue: ERROR. ZvkFeatureIntSet for feature 'TestInt' failed. Value=18446744073709551615. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureFloatRangeQuery", 1, -12, 0}, "TestFloat", "1", "WriteValue: ERROR. ZvkFeatureFloatRangeQuery for feature 'TestFloat' failed. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureFloatSet", 1, -12, 0}, "TestFloat", "1", "WriteValue: ERROR. ZvkFeatureFloatSet for feature 'TestFloat' failed. Value=10.000000. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureEnumSet", 1, -12, 0}, "TestEnum", "Off", "WriteValue: ERROR. ZvkFeatureEnumSet for feature 'TestEnum' failed. Value='Off'. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureStringSet", 1, -12, 0}, "TestString", "x", "WriteValue: ERROR. ZvkFeatureStringSet for feature 'TestString' failed. Value='x'. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureBoolSet", 1, -12, 0}, "TestBool", "True", "WriteValue: ERROR. ZvkFeatureDataBool for feature 'TestBool' failed. Value='1'. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkFeatureBoolSet", 1, -12, 0}, "TestBool", "true", "WriteValue: ERROR. ZvkFeatureDataBool for feature 'TestBool' failed. Value='0'. Reason=ZvkErrorTimeout (-12)."},
        {{"ZvkStartup", 9, -1, 0}, "testint", nullptr, "ReadValue: ERROR. Feature 'testint' not found for channelID=0."},
        {{"ZvkStartup", 9, -1, 0}, "TestInt2", "1", "WriteValue: ERROR. Feature 'TestInt2' not found for channelID=0."},
        {{"ZvkStartup", 9, -1, 0}, "", "1", "WriteValue: ERROR. Feature '' not found for channelID=0."},
    };
    // clang-format on
    ASSERT_NE(Read(0, "TestInt"), "");
    for (const Row& row : rows) {
        ClearLog();
        sdk.SimFailCalls(&row.fault, 1);
        row.value == nullptr ? static_cast<void>(Read(0, row.name))
                             : static_cast<void>(Write(0, row.name, row.value));
        EXPECT_EQ(Result(), 1);
        EXPECT_EQ(TextNow(), row.text);
        EXPECT_EQ(Log().back(), row.text);
        EXPECT_TRUE(row.value != nullptr || IsTextUntouched());
        Restore();
    }
    EXPECT_EQ(sdk.SimCallCount("ZvkFeatureIntSet"), 0u);
}

TEST_F(FeatureTest, EveryCallbackThatNeedsACameraSaysThatItCannotOpenIt)
{
    ExpectErrors();
    sdk.SimFailCall("ZvkCameraOpen", 1, -6, 1);
    const std::string tail =
        ": ERROR. Error while opening camera. channelID=0. Reason=ZvkErrorInvalidAccess (-6)";
    Read(0, "TestInt");
    EXPECT_EQ(TextNow(), "ReadValue" + tail);
    EXPECT_EQ(Write(0, "TestInt", "1"), 1);
    EXPECT_EQ(TextNow(), "WriteValue" + tail);
    EXPECT_EQ(Execute(0, "TestCommand"), 1);
    EXPECT_EQ(TextNow(), "ExecuteCommand" + tail);
}

TEST_F(FeatureTest, CommandsRunAndAreAwaited)
{
    using std::chrono::milliseconds;
    using std::chrono::steady_clock;
    EXPECT_EQ(Execute(0, "TestCommand"), 0);
    EXPECT_EQ(CountInLog("ExecuteCommand: channelID=0, feature='TestCommand'"), 1);
    EXPECT_EQ(CountInLog("ExecuteCommand: SUCCESS. ChannelID=0. Feature='TestCommand' executed."), 1);
    EXPECT_EQ(sdk.SimCallCount("ZvkFeatureCommandIsDone"), 1u);

    ExpectErrors();
    sdk.SimHoldCommand(0, "TestCommand", 1);
    const steady_clock::time_point start = steady_clock::now();
    EXPECT_EQ(Execute(0, "TestCommand"), 0);
    EXPECT_GE(steady_clock::now() - start, milliseconds(1000));
    EXPECT_EQ(CountInLog("ExecuteCommand: ERROR. Timeout exceeded. ChannelID=0. Feature='TestCommand'."), 1);
    EXPECT_EQ(TextNow(), "");
    sdk.SimHoldCommand(0, "TestCommand", 0);

    sdk.SimFailCall("ZvkFeatureCommandIsDone", 1, -20, 0);
    EXPECT_EQ(Execute(0, "TestCommand"), 0);
    EXPECT_EQ(TextNow(), "");
    sdk.SimFailCall("ZvkFeatureCommandRun", 1, -6, 0);
    EXPECT_EQ(Execute(0, "TestCommand"), 1);
    EXPECT_EQ(
        TextNow(),
        "ExecuteCommand: ERROR while executing command. ChannelID=0. Feature='TestCommand'. Reason=ZvkErrorInvalidAccess (-6)");
    sdk.SimClearCalls();
    EXPECT_EQ(Execute(0, "Missing"), 1);
    EXPECT_EQ(TextNow(), "ExecuteCommand: ERROR. Feature 'Missing' not found for channelID=0.");
    EXPECT_EQ(sdk.SimCallCount(nullptr), 0u);
    EXPECT_EQ(Execute(0, "TestInt"), 1);
    EXPECT_NE(TextNow().find("Reason=ZvkErrorWrongType (-10)"), std::string::npos) << TextNow();
}

TEST_F(FeatureTest, NamesAreListedInByteOrder)
{
    const std::vector<std::string> names = Names(0);
    EXPECT_GT(names.size(), 60u);
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::count(names.begin(), names.end(), "TestRaw"), 0);
    EXPECT_EQ(std::count(names.begin(), names.end(), "TestInt"), 1);
    const auto at = [&](const char* wanted) {
        return std::find(names.begin(), names.end(), wanted) - names.begin();
    };
    EXPECT_LT(at("Gain"), at("GainAuto"));
    EXPECT_LT(at("GainAuto"), at("Gamma"));
    for (const std::int32_t index : {-1, static_cast<std::int32_t>(names.size()), INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(Name(0, index), "");
        EXPECT_EQ(Result(), 1);
        EXPECT_EQ(TextNow(), "");
    }
    EXPECT_EQ(Log().size(), 0u);
}

TEST_F(FeatureTest, AFeatureListOfAnEarlierOpeningIsNotReadPastItsEnd)
{
    ExpectErrors();
    Guarded<VideoChannelDescriptor> descriptor(684);
    sdk.SimFailCall("ZvkFeaturesList", 2, -3, 0);
    ASSERT_EQ(GetVideoChannel(1, descriptor.Get()), 0);
    EXPECT_EQ(descriptor->openResult, 1);
    for (std::int32_t index = 0; index < 112; ++index) {
        Name(1, index);
        EXPECT_EQ(TextNow().find("GetFeatureName: ERROR. Invalid Zorvik feature index="), 0u) << TextNow();
    }
    ExpectViolations();
}

TEST_F(FeatureTest, Types)
{
    ExpectErrors();
    const std::pair<const char*, std::int32_t> rows[] = {
        {"TestEnum", 1}, {"TestInt", 2},    {"TestFloat", 3}, {"TestCommand", 4},
        {"TestBool", 5}, {"TestString", 6}, {"TestRaw", -1}};
    for (const auto& [name, expected] : rows) {
        EXPECT_EQ(Type(0, name), expected) << name;
        EXPECT_EQ(Result(), 0);
    }
    std::int32_t type = 0xBAD;
    EXPECT_EQ(Channel(0).GetFeatureType(text(), 0, "testEnum", &type), 1);
    EXPECT_EQ(type, 0xBAD);
    EXPECT_EQ(TextNow(), "GetFeatureType: ERROR. channelID=0. Feature 'testEnum' not found.");
}

TEST_F(FeatureTest, ValidEntriesOfAnEnumeration)
{
    ExpectErrors();
    ASSERT_NE(Read(0, "TestInt"), "");
    EXPECT_EQ(Entry(0, "TestEnum", 0), "Off");
    EXPECT_EQ(Entry(0, "TestEnum", 1), "Continuous");
    for (const std::uint32_t index : {2u, 3u, 0xFFFFFFFFu}) {
        ClearLog();
        Entry(0, "TestEnum", index);
        EXPECT_EQ(Result(), 1);
        EXPECT_EQ(Log().back(), "GetValidEnum: INFO: Feature 'TestEnum' : 2/3 entries marked as available.");
    }
    Entry(0, "Missing", 0);
    EXPECT_EQ(Result(), 1);
    EXPECT_EQ(TextNow(), "");
    Entry(0, "TestInt", 0);
    EXPECT_EQ(
        TextNow(),
        "GetValidEnum: ERROR. ZvkFeatureEnumRangeQuery failed for feature TestInt. Reason=ZvkErrorWrongType (-10)");
    for (const std::uint32_t nth : {1u, 2u}) {
        sdk.SimFailCall("ZvkFeatureEnumRangeQuery", nth, -20, 0);
        Entry(0, "TestEnum", 0);
        EXPECT_EQ(
            TextNow(),
            "GetValidEnum: ERROR. ZvkFeatureEnumRangeQuery failed for feature TestEnum. Reason=ZvkErrorIO (-20)");
        Restore();
    }
    sdk.SimFailCall("ZvkFeatureEnumIsAvailable", 1, -20, 0); // counts as not available
    EXPECT_EQ(Entry(0, "TestEnum", 0), "Continuous");
}

TEST_F(FeatureTest, EntriesThatTheSdkInvents)
{
    ExpectErrors();
    ASSERT_NE(Read(0, "TestInt"), "");
    static std::string longEntry(5000, 'e');
    static std::uint32_t claimed;
    Replace("ZvkFeatureEnumRangeQuery",
            [](ZvkHandle_t, const char*, const char** entries, std::uint32_t length, std::uint32_t* filled) {
                if (entries != nullptr && length >= 2) {
                    entries[0] = nullptr;
                    entries[1] = longEntry.c_str();
                }
                *filled = entries == nullptr ? 2 : claimed;
                return ZvkErrorSuccess;
            });
    Replace("ZvkFeatureEnumIsAvailable", [](ZvkHandle_t, const char*, const char*, ZvkBool_t* available) {
        *available = 0xFF;
        return ZvkErrorSuccess;
    });
    for (const std::uint32_t count : {2u, 0xFFFFFFFFu}) {
        claimed = count;
        EXPECT_EQ(Entry(0, "TestEnum", 0), longEntry.substr(0, 255));
        Entry(0, "TestEnum", 1);
        EXPECT_EQ(Result(), 1);
    }
    Replace("ZvkFeatureEnumRangeQuery",
            [](ZvkHandle_t, const char*, const char**, std::uint32_t, std::uint32_t* filled) {
                *filled = 0xFFFFFFFF;
                return ZvkErrorSuccess;
            });
    Entry(0, "TestEnum", 0);
    EXPECT_EQ(TextNow(),
              "GetValidEnum: ERROR. The SDK lists 4294967295 entries of feature TestEnum, more than 65536.");
}

TEST_F(FeatureTest, ABooleanOf2ReadsAsFalse)
{
    Open();
    Replace("ZvkFeatureBoolGet", [](ZvkHandle_t, const char*, ZvkBool_t* value) {
        *value = 2;
        return ZvkErrorSuccess;
    });
    Replace("ZvkFeatureAccessQuery", [](ZvkHandle_t, const char*, ZvkBool_t* readable, ZvkBool_t* writeable) {
        *readable = *writeable = 2;
        return ZvkErrorSuccess;
    });
    Replace("ZvkFeatureEnumIsAvailable", [](ZvkHandle_t, const char*, const char*, ZvkBool_t* value) {
        *value = 2;
        return ZvkErrorSuccess;
    });
    EXPECT_EQ(Read(0, "TestBool"), "False") << TextNow();
    EXPECT_EQ(Attribute(0, "TestBool", 2), "False");
    EXPECT_NE(Entry(0, "TestEnum", 0), "") << TextNow();
}

TEST_F(FeatureTest, Attributes)
{
    ExpectErrors();
    // The camera is closed: only what the lists hold can be answered.
    EXPECT_EQ(Attribute(0, "TestInt", 1), "An integer 100% ours");
    EXPECT_EQ(Attribute(0, "TestInt", 2), "False");
    EXPECT_EQ(
        Log().back(),
        "GetFeatureAttr: ERROR while querying read feature access for 'TestInt': Reason=ZvkErrorBadHandle (-4)");
    EXPECT_EQ(Attribute(0, "TestInt", 3), "False");
    EXPECT_EQ(
        Log().back(),
        "GetFeatureAttr: ERROR while querying write feature access for 'TestInt': Reason=ZvkErrorBadHandle (-4)");
    EXPECT_EQ(TextNow(), "");
    ASSERT_NE(Read(0, "TestInt"), "");
    EXPECT_EQ(Attribute(0, "TestInt", 2), "True");
    EXPECT_EQ(Attribute(0, "TestInt", 3), "True");
    EXPECT_EQ(Attribute(0, "TestReadOnly", 2), "True");
    EXPECT_EQ(Attribute(0, "TestReadOnly", 3), "False");
    for (const std::uint32_t kind : {0u, 4u, 7u, 0xFFFFFFFFu}) {
        Attribute(0, "TestInt", kind);
        EXPECT_EQ(Result(), 0);
        EXPECT_TRUE(IsTextUntouched());
    }
    Attribute(0, "Missing", 1);
    EXPECT_EQ(Result(), 1);
    EXPECT_EQ(TextNow(), "GetFeatureAttr: ERROR. channelID=0. Feature 'Missing' not found.");
    ExpectViolations(); // the closed camera's null handle
}

TEST_F(FeatureTest, TextsStayWhenTheSdkEndsItsOwn)
{
    UnloadAdapter();
    BeUnkind(true);
    sdk.SimSetDescription(description_.c_str());
    LoadAdapter();
    Open();
    EXPECT_EQ(Name(0, 0), "AcquisitionAbort");
    EXPECT_EQ(Attribute(0, "TestInt", 1), "An integer 100% ours");
    UnloadAdapter();
    BeUnkind(false);
}

TEST_F(FeatureTest, TextsOfTheSdkAreCut)
{
    static std::string longText(10'000, 't');
    Replace("ZvkFeatureEnumGet", [](ZvkHandle_t, const char*, const char** value) {
        *value = longText.c_str();
        return ZvkErrorSuccess;
    });
    Replace("ZvkFeatureStringGet",
            [](ZvkHandle_t, const char*, char* buffer, std::uint32_t size, std::uint32_t* filled) {
                std::memset(buffer, 's', size);
                *filled = size;
                return ZvkErrorSuccess;
            });
    EXPECT_EQ(Read(0, "TestEnum"), std::string(255, 't'));
    EXPECT_EQ(Read(0, "TestString"), std::string(255, 's'));
    Replace("ZvkFeatureEnumGet", [](ZvkHandle_t, const char*, const char** value) {
        *value = nullptr;
        return ZvkErrorSuccess;
    });
    EXPECT_EQ(Read(0, "TestEnum"), "");
    EXPECT_EQ(Result(), 0);
}

} // namespace

} // namespace maravel::test
