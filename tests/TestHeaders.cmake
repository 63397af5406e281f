# The headers that most tests include, read once for all of them.  No test depends on it: the other presets compile
# every test without.  All need the same flags: tests that link Qt are position-independent, so the preset makes all of
# them so.
set(headers <gmock/gmock.h> <gtest/gtest.h> <algorithm> <array> <atomic> <chrono> <condition_variable> <cstdint>
    <filesystem> <functional> <map> <memory> <mutex> <optional> <ranges> <span> <string> <thread> <vector>)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/no_source.cpp "")

# test_headers(NAME LIBRARIES lib... HEADERS header...): what tavelo_test() reuses.
function(test_headers NAME)
    cmake_parse_arguments(ARG "" "" "LIBRARIES;HEADERS" ${ARGN})
    add_library(${NAME} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/no_source.cpp)
    # Without a time in it ccache can tell that the headers are the same.
    target_compile_options(${NAME} PRIVATE ${TAVELO_TEST_FLAGS}
        $<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>)
    target_link_libraries(${NAME} PRIVATE tavelo_flags GTest::gmock ${ARG_LIBRARIES})
    target_precompile_headers(${NAME} PRIVATE ${ARG_HEADERS})
endfunction()

test_headers(tavelo_test_headers HEADERS ${headers})
if(NOT TAVELO_CORE_ONLY)
    test_headers(tavelo_qt_test_headers LIBRARIES tavelo_qt_flags Qt6::Widgets HEADERS ${headers} <QtWidgets>)
endif()
