// The Daytime texts: long date and 24-hour time, or the line with the modified Julian day;
// and the NTP reply's layout.
#include "services/daytime_text.h"
#include "services/ntp_reply.h"

#include <gtest/gtest.h>

using namespace cvl;

TEST(DaytimeText, LongDateOrModifiedJulianDay) {
    EXPECT_EQ(daytimeText({2026, 11, 16, 2, 8, 4}, "Monday", "November", "Eastern Standard Time"),
              "Monday, November 16, 2026 02:08:04-Eastern Standard Time");
    EXPECT_EQ(daytimeText({987, 2, 1, 21, 5, 7}, "Sunday", "February", ""),
              "Sunday, February 01, 0987 21:05:07-");
    const std::int64_t secondsTo2004 = 3281904000; // 2004-01-01 00:00:00 UTC
    EXPECT_EQ(GrabMJulian(secondsTo2004 + 45296, false),
              "\n53005 04-01-01 12:34:56 00 0 0 50.0 UTC(CVLS) *");
    EXPECT_EQ(GrabMJulian(secondsTo2004 - 1, true),
              "\n53004 03-12-31 23:59:59 50 0 0 50.0 UTC(CVLS) *");
}

TEST(NtpReply, OriginChosenByByteTwentyFourAlone) {
    std::string request(48, '\0');
    for (std::size_t i = 0; i < 8; ++i) {
        request[24 + i] = static_cast<char>(0x10 + i); // originate field
        request[40 + i] = static_cast<char>(0x20 + i); // transmit field
    }
    const NtpTimestamp receive{1, 2, 3, 4, 5, 6, 7, 8};
    const NtpTimestamp transmit{9, 10, 11, 12, 13, 14, 15, 16};
    const NtpReference reference{36, {127, 0, 0, 1}, {0xC3, 0x9D, 0xE1, 0x80, 0, 0, 0, 0}};
    NtpPacket reply = ntpReply(request, receive, transmit, reference);
    EXPECT_EQ(reply[0], 36);
    EXPECT_EQ(reply[1], 2);
    EXPECT_EQ(reply[12], 127);
    EXPECT_EQ(reply[16], 0xC3);
    EXPECT_EQ(reply[24], 0x10); // the client's originate field, byte 24 being set
    EXPECT_EQ(reply[32], 1);
    EXPECT_EQ(reply[47], 16);
    request[24] = '\0'; // only byte 24 counts: the rest of the field is ignored
    reply = ntpReply(request, receive, transmit, reference);
    EXPECT_EQ(reply[24], 0x20);
    EXPECT_EQ(reply[31], 0x27);
}
