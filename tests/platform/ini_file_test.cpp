// The settings file's text: what earlier releases (Qt's INI writer) left must read the same,
// and whatever is written must read back as it was.
#include "platform/ini_file.h"

#include <gtest/gtest.h>

using namespace cvl;

TEST(IniFile, ReadsWhatEarlierReleasesWrote) {
    const auto values = ini::parse("[General]\r\n"
                                   "Settings=YES:59:Minutes/s:NA:36\r\n"
                                   "Note=\"a, b ; c\"\r\n"
                                   "List=a, b,c   \r\n"
                                   "Comment=x ; not part of it\r\n"
                                   "Escapes=tab\\there \\\"q\\\" \\\\ \\x41\\101\r\n"
                                   "EndsInBackslash=a\\\\\r\n"
                                   "Spaced = \"  padded  \"\r\n"
                                   "At=@@home\r\n"
                                   "Bytes=@ByteArray(raw)\r\n"
                                   "Name%20With%3DSigns=1\r\n"
                                   "Wide%U00E9=2\r\n"
                                   "; a comment line\r\n"
                                   "no equals sign\r\n"
                                   "\r\n"
                                   "[Other]\r\n"
                                   "Software\\X=1\r\n"
                                   "[%General]\r\n"
                                   "Y=2\r\n");
    const std::map<std::string, std::string> expected{
        {"Settings", "YES:59:Minutes/s:NA:36"},
        {"Note", "a, b ; c"},
        {"List", "a, b, c"},
        {"Comment", "x"},
        {"Escapes", "tab\there \"q\" \\ AA"},
        {"EndsInBackslash", "a\\"},
        {"Spaced", "  padded  "},
        {"At", "@home"},
        {"Bytes", "raw"},
        {"Name With=Signs", "1"},
        {"Wide\xC3\xA9", "2"},
        {"Other/Software/X", "1"},
        {"General/Y", "2"},
    };
    EXPECT_EQ(values, expected);
}

TEST(IniFile, WhatIsWrittenReadsBack) {
    const std::map<std::string, std::string> values{
        {"Settings", "YES:59:Minutes/s:NA:36"},
        {"Note", "a, b ; c = d"},
        {"Quotes", "\"quoted\" \\ back"},
        {"Backslash", "ends in \\"},
        {"Controls", std::string("\x01\x7F"
                                 "7\n\r\t",
                                 6)},
        {"Padded", "  x  "},
        {"At", "@ByteArray(x)"},
        {"AtQuoted", "@at;x"}, // found by the fuzzer: "@" and quotes together
        {"Unicode", "Z\xC3\xBCrich \xF0\x9F\x95\x90"},
        {"Odd name=[x]", "1"},
        {"Beyond \xF0\x9F\x95\x90 and\x0b", "4"}, // found by the fuzzer: two halves
        {"Other/Software/X", "2"},
        {"General/Y", "3"},
    };
    const std::string text = ini::format(values);
    EXPECT_TRUE(text.starts_with("[General]\nAt=@@ByteArray(x)\n"));
    EXPECT_NE(text.find("\nSettings=YES:59:Minutes/s:NA:36\n"), std::string::npos);
    EXPECT_EQ(ini::parse(text), values);
}

TEST(IniFile, KeysWithoutEmptyParts) {
    EXPECT_EQ(ini::normalizedKey("//a//b/"), "a/b");
    EXPECT_EQ(ini::normalizedKey("/"), "");
}
