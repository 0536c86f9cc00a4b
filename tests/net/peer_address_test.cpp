#include "net/peer_address.h"
#include "text/ipv4_text.h"

#include <gtest/gtest.h>

using cvl::PeerAddress;

TEST(PeerAddress, LiteralsReadAndWrittenBack) {
    // Text in, and the text shown for it ("-" when it is no address).
    const std::pair<const char*, const char*> cases[] = {
        {"127.0.0.1", "127.0.0.1"},
        {"0.0.0.0", "0.0.0.0"},
        {"255.255.255.255", "255.255.255.255"},
        {"::ffff:192.0.2.7", "192.0.2.7"}, // the mapped form is IPv4
        {"::1", "::1"},
        {"::", "::"},
        {"2001:DB8:0:0:0:0:0:1", "2001:db8::1"},
        {"2001:db8:0:1:0:0:0:1", "2001:db8:0:1::1"},      // the longer run of zeros
        {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},    // the first of two equal runs
        {"2001:db8:1:1:1:1:0:1", "2001:db8:1:1:1:1:0:1"}, // a single zero stays
        {"1:2:3:4:5:6:7::", "1:2:3:4:5:6:7:0"},
        {"64:ff9b::192.0.2.33", "64:ff9b::c000:221"},
        {"256.0.0.1", "-"},
        {"1.2.3", "-"},
        {"1.2.3.4.", "-"},
        {"01.2.3.4", "-"},
        {"1.2.3.4::", "-"},
        {"1::2::3", "-"},
        {":1", "-"},
        {"1:", "-"},
        {"1:2:3:4:5:6:7:8:9", "-"},
        {"12345::", "-"},
        {"g::", "-"},
        {"", "-"},
        {"localhost", "-"},
    };
    for (const auto& [text, shown] : cases) {
        const std::optional<PeerAddress> address = PeerAddress::fromText(text, 123);
        EXPECT_EQ(address ? address->text() : "-", shown) << text;
        if (address) {
            EXPECT_EQ(address->port(), 123);
        }
    }
}

TEST(PeerAddress, IPv4IsKeptMappedAndComparedWithoutThePort) {
    const PeerAddress a = PeerAddress::fromIPv4(0xC0000207, 37);
    EXPECT_TRUE(a.isIPv4());
    EXPECT_EQ(a.ipv4(), 0xC0000207u);
    EXPECT_EQ(a, *PeerAddress::fromText("::ffff:192.0.2.7", 5000));
    EXPECT_FALSE(a == PeerAddress::fromIPv4(0xC0000208, 37));
    EXPECT_FALSE(PeerAddress::fromText("::1", 0)->isIPv4());
    EXPECT_EQ(cvl::ipv4Text(0x0A00FF01), "10.0.255.1");
}
