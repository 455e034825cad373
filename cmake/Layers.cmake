# vn_layer(NAME DIRS folder... [LINK target...]): one static library vn_NAME from the sources that stand directly in
# the folders. A file that ends in _win.cpp is built for Windows only, one that ends in _posix.cpp elsewhere only.
function(vn_layer NAME)
  cmake_parse_arguments(A "" "" "DIRS;LINK" ${ARGN})
  set(files)
  foreach(dir ${A_DIRS})
    file(GLOB here CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${dir}/*.cpp ${CMAKE_SOURCE_DIR}/${dir}/*.h ${CMAKE_SOURCE_DIR}/${dir}/*.ui)
    if(NOT here)
      message(FATAL_ERROR "layer ${NAME}: ${dir} has no sources")
    endif()
    list(APPEND files ${here})
  endforeach()
  if(WIN32)
    list(FILTER files EXCLUDE REGEX "_posix\\.cpp$")
  else()
    list(FILTER files EXCLUDE REGEX "_win\\.cpp$")
  endif()
  add_library(vn_${NAME} STATIC ${files})
  target_include_directories(vn_${NAME} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(vn_${NAME} PUBLIC ${A_LINK})
endfunction()

# The browser and the offscreen screen keep things of their own for the process's life; the leak checker is told.
set(VN_LEAKS "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/leaks.supp:print_suppressions=0")

# vn_test(NAME DIR folder LINK target...): one test binary tst_NAME from all tst_*.cpp of tests/folder (and its helper
# files), run by the shared main. It runs offscreen, in a HOME of its own that is made at its start and removed at its end.
function(vn_test NAME)
  cmake_parse_arguments(A "" "DIR;TIMEOUT" "LINK" ${ARGN})
  file(GLOB files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/${A_DIR}/*.cpp ${CMAKE_SOURCE_DIR}/tests/${A_DIR}/*.h)
  if(NOT files)
    message(FATAL_ERROR "tests/${A_DIR} has no sources")
  endif()
  add_executable(tst_${NAME} ${files} ${CMAKE_SOURCE_DIR}/tests/support/TestMain.cpp ${CMAKE_SOURCE_DIR}/tests/support/TsanQt.cpp
    ${CMAKE_SOURCE_DIR}/tests/support/Syncs.cpp)
  target_include_directories(tst_${NAME} PRIVATE ${CMAKE_SOURCE_DIR}/tests ${CMAKE_SOURCE_DIR}/tests/${A_DIR})
  target_link_libraries(tst_${NAME} PRIVATE ${A_LINK} Qt5::Test ${CMAKE_DL_LIBS})
  # Tests are built to be quick to build; what they test is optimised as the client is.
  target_compile_options(tst_${NAME} PRIVATE -O0)
  # Each in a folder of its own: what stands beside the program is that test's alone.
  set_target_properties(tst_${NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/run_${NAME})
  add_test(NAME ${NAME} COMMAND tst_${NAME})
  if(NOT A_TIMEOUT)
    set(A_TIMEOUT 600)
  endif()
  set_tests_properties(${NAME} PROPERTIES TIMEOUT ${A_TIMEOUT} ENVIRONMENT "QT_QPA_PLATFORM=offscreen;JSC_watchdog=3000;${VN_LEAKS}")
endfunction()
