# Toolchain file for Debian's cross compilers, run by scripts/cross: the compiler's
# triplet comes as RUVO_TRIPLET, qemu's name for the processor as RUVO_QEMU.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES RUVO_TRIPLET RUVO_QEMU)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR "${RUVO_QEMU}")
set(CMAKE_CXX_COMPILER "${RUVO_TRIPLET}-g++")
set(CMAKE_CROSSCOMPILING_EMULATOR "qemu-${RUVO_QEMU};-L;/usr/${RUVO_TRIPLET}")

# Programs are this machine's, everything else is the target's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
