#include "collectors/device/imgp/imgp_commands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace zarn {
namespace {

TEST(ImgpCommandsTest, TheBlanksOfTheCommandsAreTheirs) {
    EXPECT_EQ(GlobalProfilingCommand("/run/global", 30),
              " rungate /var/kavtrace --output=/run/global --sys-devices=all --ai-core=off "
              "--sys-period=30 --imgp-profiling=on");
    EXPECT_EQ(AppProfilingCommand("/run/app/", "/run/app/s.sh"),
              " rungate /var/kavtrace --output=/run/app/  --application=\"sh /run/app/s.sh\" "
              "--imgp-profiling=on");
}

TEST(ImgpCommandsTest, TheScriptStartsTheApplicationInItsFolder) {
    ImgpSettings settings;
    settings.path = "/opt/app";
    settings.library = "/opt/lib";
    settings.appName = "player";
    settings.params = {"-v", "$(x)\n;", "two words"};
    EXPECT_EQ(AppScript(settings),
              "cd /opt/app\n"
              "export LD_LIBRARY_PATH=/opt/lib:$LD_LIBRARY_PATH\n"
              "rungate ./player -v \\$\\(x\\)\\; two words --allocGroup=default_dm\n");
    settings.params.clear();
    EXPECT_EQ(AppScript(settings),
              "cd /opt/app\n"
              "export LD_LIBRARY_PATH=/opt/lib:$LD_LIBRARY_PATH\n"
              "rungate ./player --allocGroup=default_dm\n");
}

bool FindsIn(std::string_view text, std::size_t pieceSize) {
    ErrorWordFinder finder;
    for (std::size_t at = 0; at < text.size(); at += pieceSize) {
        finder.Take(text.substr(at, pieceSize));
    }
    return finder.HasFound();
}

TEST(ImgpCommandsTest, TheWordOfFailureIsFoundWhereverTheOutputIsCut) {
    for (std::size_t size = 1; size < 12; ++size) {
        for (const char* text : {"ERROR", "xERRORS", "EERROR", "ERERROR", "a\nERROR: b\n",
                                 "ERRERRERROR", "one ERROR and so on and on"}) {
            EXPECT_TRUE(FindsIn(text, size)) << text << " in pieces of " << size;
        }
        for (const char* text :
             {"", "error", "ERRO", "ERROrR", "E R R O R", "ERRERRO", "ERRO\nR"}) {
            EXPECT_FALSE(FindsIn(text, size)) << text << " in pieces of " << size;
        }
    }
}

}  // namespace
}  // namespace zarn
