// The system's formats under the C locale, which the tests run in.
#include "log/request_log.h"
#include "platform/local_format.h"

#include <gtest/gtest.h>

using namespace cvl;

TEST(LocalFormat, TheCLocalesWays) {
    EXPECT_EQ(generalDateText({2026, 11, 16, 8, 0, 1}), "11/16/26 08:00:01");
    EXPECT_EQ(dayName(2026, 11, 16) + ' ' + monthName(11), "Monday November");
    EXPECT_EQ(dayName(2004, 2, 29), "Sunday");
}
