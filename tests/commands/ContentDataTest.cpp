#include "commands/ContentData.h"
#include "commands/CommandOutput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace tw;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

TEST(ContentData, JsonRoundTripKeepsTypesAndTheWordsForNonNumbers) {
    TCDObject root;
    root.AddBoolean("ok", true);
    root.AddInteger("big", 9007199254740993LL); // not representable as a double
    root.AddDouble("x", 0.1);
    root.AddDouble("inf", std::numeric_limits<double>::infinity());
    root.AddDouble("nan", std::numeric_limits<double>::quiet_NaN());
    root.AddString("text", "é \"quoted\"");
    root.Add("bytes", std::make_unique<TCDSimpleValue>(std::vector<uint8_t>{0, 255, 1, 2}));
    root.Add("none", std::make_unique<TCDSimpleValue>());
    auto& list = root.AddCDArray("list");
    list.AddSimpleValue(int64_t(1));
    list.AddSimpleValue(std::string("two"));
    list.Add(std::make_unique<TCDObject>());

    const auto& json = TPASContentSerializerRegistry::Default();
    EXPECT_EQ(json.SupportedType(), "application/json");
    const std::string text = json.ContentDataToString(root);
    auto back = json.CreateContentDataFromString(text);
    auto& object = dynamic_cast<TCDObject&>(*back);
    EXPECT_TRUE(object.GetBoolean("ok"));
    EXPECT_EQ(object.GetInteger("big"), 9007199254740993LL);
    EXPECT_EQ(object.GetDouble("x"), 0.1);
    EXPECT_TRUE(std::isinf(object.GetDouble("inf")));
    EXPECT_TRUE(std::isnan(object.GetDouble("nan")));
    EXPECT_EQ(object.GetString("text"), "é \"quoted\"");
    EXPECT_EQ(dynamic_cast<TCDSimpleValue&>(object.GetItem("bytes")).BytesValue(),
              (std::vector<uint8_t>{0, 255, 1, 2}));
    EXPECT_EQ(dynamic_cast<TCDSimpleValue&>(object.GetItem("none")).ValueType(),
              TCDSimpleValue::svtUndefined);
    EXPECT_EQ(object.GetCDArray("list").Count(), 3);
    EXPECT_EQ(object.GetKeys().size(), 9u);
    // Key order is no part of the content.
    EXPECT_EQ(json.ContentDataToString(object), text);

    EXPECT_THAT([&] { object.GetItem("missing"); },
                ThrowsMessage<EContentDataException>(
                    StartsWith("Key named missing is not present in object {")));
    EXPECT_THROW(object.GetInteger("text"), EContentDataException);
    EXPECT_THROW(json.CreateContentDataFromString("{\"a\": [1, 2"), EContentDataException);
    EXPECT_THROW(json.CreateContentDataFromString(std::string(100000, '[')), EContentDataException);
    EXPECT_THROW(TPASContentSerializerRegistry::SetDefault(std::make_unique<TCSJSON>()),
                 EContentDataException);
}

TEST(ContentData, BinaryContentAndBase64) {
    for (size_t n = 0; n < 7; ++n) {
        std::vector<uint8_t> bytes;
        for (size_t i = 0; i < n; ++i)
            bytes.push_back(static_cast<uint8_t>(250 + i));
        EXPECT_EQ(DecodeBase64(EncodeBase64(bytes)), bytes);
    }
    EXPECT_EQ(EncodeBase64({'M', 'a'}), "TWE=");
    EXPECT_THROW(DecodeBase64("TW=E"), EContentDataException);
    EXPECT_THROW(DecodeBase64("abc"), EContentDataException);

    TCDBinaryContent binary({'h', 'i'}, "text/plain");
    const std::string text = TPASContentSerializerRegistry::Default().ContentDataToString(binary);
    EXPECT_EQ(text, "{\"ContentType\":\"text/plain\",\"data\":\"aGk=\"}");
}

TEST(CommandOutput, OutcomeTextsAndFollowups) {
    EXPECT_EQ(CommandErrorCodeText(cecZeroCommandMatches, "set", "Tools"),
              "Command \"set\" is not available for object Tools");
    EXPECT_EQ(CommandErrorCodeText(cecCouldNotExecute), "Unknown error code (1)");
    EXPECT_EQ(CommandErrorCodeText(cecInvalidParameters),
              CommandErrorCodeText(cecZeroPatternMatches));

    TCommandOutput output;
    output.InitializeAsOK("first");
    output.AddAdditionalInfoLine("value %d", 2);
    output.AddResultValue(1.5);
    output.SetJSONObject(std::make_unique<TCDArray>());
    EXPECT_EQ(output.AdditionalInfo(), "first\r\nvalue 2");

    TCommandOutput followup;
    followup.InitializeAsError(cecExecutionFailed, "It broke");
    followup.AddAdditionalCommentLine("note");
    followup.AddResultValue(3);
    output.UpdateFromFollowupCommand(followup);
    EXPECT_TRUE(output.HasError());
    EXPECT_EQ(output.AdditionalInfo(), "first\r\nvalue 2\r\nIt broke");
    EXPECT_EQ(output.ResultValues(), (std::vector<double>{1.5, 3}));
    EXPECT_EQ(output.AdditionalComments().size(), 1u);

    TCommandOutput copy(output);
    EXPECT_NE(copy.JSONObject(), nullptr);
    EXPECT_NE(copy.JSONObject(), output.JSONObject());
    copy.InitializeAsOK();
    EXPECT_FALSE(copy.HasError());
    EXPECT_EQ(copy.ResultValuesCount(), 0);
    EXPECT_EQ(copy.JSONObject(), nullptr);
}
