// Numbers as port boxes and saved fields give them: the leading number, blanks ignored,
// rounded half to even into 16 and 32 bits.
#include "text/leading_number.h"

#include <gtest/gtest.h>

#include <string>

using namespace cvl;

TEST(LeadingNumber, RoundedIntoSixteenBits) {
    const auto int16 = [](const char* text) {
        const auto value = roundToInt16(leadingNumber(text));
        return value ? std::to_string(*value) : std::string("overflow");
    };
    EXPECT_EQ(int16("37abc"), "37");
    EXPECT_EQ(int16("abc"), "0");
    EXPECT_EQ(int16(" 3 7"), "37");
    EXPECT_EQ(int16("\t+3\n7"), "37");
    EXPECT_EQ(int16("2.5"), "2");
    EXPECT_EQ(int16("3.5"), "4");
    EXPECT_EQ(int16("-5"), "-5");
    EXPECT_EQ(int16(".5e1"), "5");
    EXPECT_EQ(int16("40000"), "overflow");
    EXPECT_EQ(int16("1e3x"), "1000");
    EXPECT_EQ(int16("1d3"), "1000"); // the old exponent letter
    EXPECT_EQ(int16("1e999"), "0");  // beyond a double: no number
    EXPECT_EQ(int16("1e"), "1");     // an exponent without digits is not part of it
    EXPECT_FALSE(roundToInt32(1e10));
    EXPECT_EQ(roundToInt32(-2147483648.4).value_or(0), -2147483647 - 1);
}

TEST(LeadingNumber, WholeTextIsANumber) {
    EXPECT_TRUE(isNumericText("59"));
    EXPECT_TRUE(isNumericText(" 1.5 "));
    EXPECT_TRUE(isNumericText("-2e3"));
    EXPECT_FALSE(isNumericText("59a"));
    EXPECT_FALSE(isNumericText(""));
    EXPECT_FALSE(isNumericText("."));
    EXPECT_FALSE(isNumericText("\xD9\xA3")); // an Arabic-Indic digit is no digit here
}
