#include "foundation/console.h"
#include "foundation/memory.h"
#include "mission/zarn_manager.h"

// One argument: the path of the configuration. The status is 0 after every orderly run, failed ones
// too; the messages tell.
int main(int argc, char** argv) {
    zarn::KeepFreedMemory();
    if (argc != 2) {
        zarn::PrintLine("[Main] Please input the config file path!");
        return 0;
    }
    zarn::ZarnManager manager(argv[1]);
    (void)manager.Start();
    zarn::PrintLine("[Main] Collection jobs finished.");
    return 0;
}
