// Starting other programs on Windows: the program named by its quoted path, the arguments
// passed as they are (the updater is given "/v4.2" and "/tTitle" glued to their switches).
#include "platform/windows/system_launcher.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <thread>

using namespace cvl;

TEST(WindowsLauncher, StartsTheProgramWithItsArgumentsAsTheyAre) {
    test::TempFolder folder;
    const std::string said = folder.filePath("said.txt");
    const std::string shell = "C:\\windows\\system32\\cmd.exe";
    ASSERT_TRUE(std::filesystem::exists(shell));
    SystemLauncher launcher;
    ASSERT_TRUE(launcher.start(shell, {"/c", "echo", "/v4.2", "/tUPDATEING", "Chronvale>", said}));
    std::string text;
    for (int wait = 0; wait < 100 && text.empty(); ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        text = test::readFile(said);
    }
    EXPECT_EQ(text, "/v4.2 /tUPDATEING Chronvale\r\n");

    // A program that is not there: refused, and nothing else happens.
    EXPECT_FALSE(launcher.start(folder.filePath("QBKUpdate.exe"), {"/v4.2"}));
}
