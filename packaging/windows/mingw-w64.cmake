# Toolchain for Windows, 64 bit, from a Linux machine: cmake --toolchain packaging/windows/mingw-w64.cmake. The posix
# flavour of the compiler brings std::thread and std::mutex; the runtime is linked in, so a program needs no DLL of it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
add_compile_definitions(UNICODE _UNICODE _WIN32_WINNT=0x0601)
# What the platform layer calls, for whatever links it, beside the compiler's usual libraries.
set(CMAKE_CXX_STANDARD_LIBRARIES "-lkernel32 -luser32 -lgdi32 -lshell32 -lole32 -loleaut32 -luuid -ladvapi32 \
-lwbemuuid -liphlpapi -ldbghelp" CACHE STRING "")
