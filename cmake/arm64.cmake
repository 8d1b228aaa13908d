# Cross build with Debian's compiler; programs of the build run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
find_program(ZARN_QEMU qemu-aarch64 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${ZARN_QEMU} -L /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
