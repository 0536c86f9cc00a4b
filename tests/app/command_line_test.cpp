// The executable's command line: the exact "-rs" first word, options with values, and the
// errors that must stop the start.
#include "app/command_line.h"

#include <gtest/gtest.h>

using namespace cvl;

namespace {

using Words = std::vector<std::string>;

CommandLineResult parse(Words words) {
    words.insert(words.begin(), "chronvale-server");
    return parseCommandLine(words);
}

// Only our own options are options: a word that merely looks like one (or "-rs" anywhere but
// first) starts the program normally and is reported, while a misspelt long option stops it.
TEST(CommandLine, HiddenStartNeedsTheExactFirstWord) {
    const auto hidden = [](const Words& words) {
        const CommandLineResult result = parse(words);
        return result.line ? std::to_string(result.line->startHidden) : result.error;
    };
    EXPECT_EQ(hidden({"-rs", "--headless"}), "1");
    EXPECT_EQ(hidden({"words", "-rs"}), "0");
    EXPECT_EQ(hidden({"/rs"}), "0");
    EXPECT_EQ(hidden({}), "0");
    const CommandLineResult result = parse({"-RS", "/rs", "--headless", "stray"});
    ASSERT_TRUE(result.line);
    EXPECT_FALSE(result.line->startHidden);
    EXPECT_TRUE(result.line->headless);
    EXPECT_EQ(result.line->ignored, (Words{"-RS", "/rs", "stray"}));
    EXPECT_TRUE(parse({"-rs"}).line->ignored.empty());
}

TEST(CommandLine, OptionsWithValues) {
    const CommandLineResult result =
        parse({"--headless", "--service", "--no-set-clock", "--strict-sync", "--data-dir",
               "/srv/cvl", "--settings=/etc/x.conf", "--reference-port", "20123", "--update-server",
               "updates.example:8080"});
    ASSERT_TRUE(result.line);
    const CommandLine& line = *result.line;
    EXPECT_TRUE(line.headless && line.service && line.noSetClock && line.strictSync);
    EXPECT_EQ(line.dataDir, "/srv/cvl");
    EXPECT_EQ(line.settingsFile, "/etc/x.conf");
    EXPECT_EQ(line.referencePort, 20123);
    EXPECT_EQ(line.updateHost, "updates.example");
    EXPECT_EQ(line.updatePort, 8080);
    EXPECT_EQ(parse({"--update-server", "host"}).line->updatePort, 80);
}

TEST(CommandLine, Errors) {
    const auto error = [](const Words& words) {
        const CommandLineResult result = parse(words);
        return result.line ? "accepted" : result.error;
    };
    EXPECT_EQ(error({"--frobnicate"}), "unknown option: --frobnicate");
    EXPECT_EQ(error({"--rs"}), "unknown option: --rs");
    EXPECT_EQ(error({"--settings"}), "option --settings needs a value");
    EXPECT_EQ(error({"--reference-port", "70000"}), "--reference-port: not a port number: 70000");
    EXPECT_EQ(error({"--reference-port", "12x"}), "--reference-port: not a port number: 12x");
    EXPECT_EQ(error({"--update-server", ":80"}), "--update-server: expected HOST[:PORT], got :80");
}

} // namespace
