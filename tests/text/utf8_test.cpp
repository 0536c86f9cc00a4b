#include "text/utf8.h"

#include <gtest/gtest.h>

using namespace cvl;

TEST(Utf8, CutsCountCharactersNotBytes) {
    const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x95\x90z"; // a é € 🕐 z
    EXPECT_EQ(utf8::characterCount(text), 5u);
    EXPECT_EQ(utf8::firstCharacters(text, 3), "a\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(utf8::firstCharacters(text, 9), text);
    EXPECT_EQ(utf8::lastCharacters(text, 2), "\xF0\x9F\x95\x90z");
    EXPECT_EQ(utf8::lastCharacters("NA", 5), "NA");
    EXPECT_EQ(utf8::withoutLastCharacter("59\xC3\xA9"), "59");
    EXPECT_EQ(utf8::withoutLastCharacter(""), "");
}

TEST(Utf8, ValidityAndLatin1) {
    EXPECT_TRUE(utf8::isValid("plain \xC3\xA9\xE2\x82\xAC\xF0\x9F\x95\x90"));
    for (const char* bad :
         {"\xE9t\xE9", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82"}) {
        EXPECT_FALSE(utf8::isValid(bad)) << bad;
    }
    EXPECT_EQ(utf8::fromLatin1("\xE9t\xE9 \xFF"), "\xC3\xA9t\xC3\xA9 \xC3\xBF");
}

TEST(Utf8, TrimsAsciiAndUnicodeSpaceAtBothEndsOnly) {
    EXPECT_EQ(utf8::trimmed(" \t time.example \r\n"), "time.example");
    EXPECT_EQ(utf8::trimmed("\xC2\xA0\xE2\x80\x89host a\xE3\x80\x80"), "host a");
    EXPECT_EQ(utf8::trimmed("\xE2\x80\x8B x"), "\xE2\x80\x8B x"); // a zero-width space is no space
    EXPECT_EQ(utf8::trimmed(" \xC2\x85 "), "");
    EXPECT_EQ(utf8::trimmed("\xC3\xA9"), "\xC3\xA9");
}
