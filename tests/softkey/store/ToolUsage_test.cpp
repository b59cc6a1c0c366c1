// softkey.exe with a command line that cannot be read.
#define JSON_NO_IO
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "base/Wide.h"
#include "softkey/store/Process.h"

namespace kzr::softkey::test {
namespace {

struct Ended {
    DWORD code;
    std::string output, errors;
};

Ended RunTool(const std::vector<std::string>& arguments)
{
    Process process(ToWide(KZR_SOFTKEY_TOOL), arguments);
    EXPECT_TRUE(process.Started());
    const DWORD code = process.Wait();
    return {code, process.Output(), process.Errors()};
}

TEST(ToolUsage, AWrongCommandLineIsAnsweredInJsonWhereverThatIsAskedFor)
{
    const std::vector<std::string> wrong[] = {{"--json"},
                                              {"--json", "list", "more"},
                                              {"show", "--json"},
                                              {"create", "K1", "--tries", "0", "--json"}};
    for (const auto& arguments : wrong) {
        const Ended ended = RunTool(arguments);
        EXPECT_EQ(ended.code, 2u);
        const auto json = nlohmann::json::parse(ended.output, nullptr, false);
        ASSERT_TRUE(json.is_object()) << ended.output;
        EXPECT_EQ(json["error"]["code"], 2);
        EXPECT_EQ(ended.errors.find(json["error"]["message"].get<std::string>()), 0u) << ended.errors;
    }
}

TEST(ToolUsage, AWrongCommandLinePrintsNothingWhereAnswersAreExpected)
{
    const Ended ended = RunTool({"show"});
    EXPECT_EQ(ended.code, 2u);
    EXPECT_EQ(ended.output, "");
    EXPECT_NE(ended.errors, "");
}

TEST(ToolUsage, AWrongValueIsRefusedInASentenceThatNamesTheRightOnes)
{
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{"export", "K1", "--form", "doc"}, "--form takes pem, base64 or der, not \"doc\""},
        {{"export", "K1", "--form", "0"}, "--form takes pem, base64 or der, not \"0\""},
        {{"export", "K1", "--pair", "both"}, "--pair takes signing or exchange, not \"both\""},
        {{"ca", "export", "--type", "RSA"}, "--type takes sm2 or rsa, not \"RSA\""},
        {{"create", "--rsa-bits", "1000"}, "--rsa-bits takes 1024, 2048, 3072 or 4096, not \"1000\""},
        {{"create", "--tries", "101"}, "--tries takes a number from 1 to 100, not \"101\""},
        {{"create", "--tries", "ten"}, "--tries takes a number from 1 to 100, not \"ten\""},
        {{"create", "--days", "9999999999"}, "--days takes a number from 1 to 36500, not \"9999999999\""},
        {{"create", "--start-days", "1d"}, "--start-days takes a number from -36500 to 36500, not \"1d\""},
    };
    for (const auto& [arguments, sentence] : rows) {
        const Ended ended = RunTool(arguments);
        EXPECT_EQ(ended.code, 2u);
        EXPECT_EQ(ended.errors.substr(0, ended.errors.find_first_of("\r\n")), sentence);
    }
}

TEST(ToolUsage, HelpStaysHelpWhenJsonIsAskedFor)
{
    const Ended ended = RunTool({"--json", "--help"});
    EXPECT_EQ(ended.code, 0u);
    EXPECT_NE(ended.output.find("Usage: softkey"), std::string::npos);
}

TEST(ToolUsage, AGroupOfCommandsTellsItsOwnOnly)
{
    const Ended ended = RunTool({"pin", "--help"});
    EXPECT_EQ(ended.code, 0u);
    EXPECT_NE(ended.output.find("unblock"), std::string::npos);
    EXPECT_EQ(ended.output.find("softkey create"), std::string::npos);
}

}  // namespace
}  // namespace kzr::softkey::test
