# One library per folder.  A folder sees another folder's headers only if it links that folder's library: each
# library publishes its own include directory, which contains only links to the headers of its folder.  An include
# that is not in the link graph does not compile.

# tavelo_library(NAME FOLDER path SOURCES file... [PUBLIC lib...] [PRIVATE lib...] [QT])
#   NAME     target; the folder's headers are included as "path/header.h"
#   PUBLIC   libraries that the folder's headers include
#   PRIVATE  libraries that only its sources include
#   QT       uses Qt: runs moc and sets the flags of tavelo_qt_flags
function(tavelo_library NAME)
    cmake_parse_arguments(ARG "QT" "FOLDER" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${NAME} STATIC ${ARG_SOURCES})

    set(published ${CMAKE_BINARY_DIR}/include/${NAME})
    file(REMOVE_RECURSE ${published})
    file(MAKE_DIRECTORY ${published}/${ARG_FOLDER})
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${ARG_FOLDER}/*.h)
    foreach(header IN LISTS headers)
        get_filename_component(file ${header} NAME)
        file(CREATE_LINK ${header} ${published}/${ARG_FOLDER}/${file} SYMBOLIC)
    endforeach()
    target_include_directories(${NAME} PUBLIC ${published})

    target_link_libraries(${NAME} PUBLIC ${ARG_PUBLIC} PRIVATE tavelo_flags ${ARG_PRIVATE})
    if(ARG_QT)
        target_link_libraries(${NAME} PRIVATE tavelo_qt_flags)
        set_target_properties(${NAME} PROPERTIES AUTOMOC ON)
    endif()
endfunction()

# tavelo_program(NAME SOURCES file... LIBRARIES lib... [QT]): a program in build/bin.
function(tavelo_program NAME)
    cmake_parse_arguments(ARG "QT" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${NAME} ${ARG_SOURCES})
    target_link_libraries(${NAME} PRIVATE tavelo_flags ${ARG_LIBRARIES})
    if(ARG_QT)
        target_link_libraries(${NAME} PRIVATE tavelo_qt_flags)
        set_target_properties(${NAME} PROPERTIES AUTOMOC ON)
    endif()
    # Its functions have names in a report of a crash, even if the package has no symbols.
    set_target_properties(${NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin ENABLE_EXPORTS ON)
endfunction()

set(TAVELO_TEST_FLAGS "" CACHE STRING "Compile flags of the test programs, after all others")
option(TAVELO_PRECOMPILE_TESTS "Read the headers that most tests include only once" OFF)

# tavelo_test(NAME SOURCES file... LIBRARIES lib... [LABELS label...] [QT] [BUS]): a GoogleTest program, one ctest entry.
#   Labels: "unit" (default), "integration"; "threads" also runs the test under ThreadSanitizer.
#   QT   creates a QApplication, without a display
#   BUS  runs in its own D-Bus session
function(tavelo_test NAME)
    cmake_parse_arguments(ARG "QT;BUS" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    add_executable(${NAME} ${ARG_SOURCES})
    target_include_directories(${NAME} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_compile_options(${NAME} PRIVATE ${TAVELO_TEST_FLAGS})
    target_link_libraries(${NAME} PRIVATE tavelo_flags GTest::gmock ${ARG_LIBRARIES})
    if(ARG_QT)
        target_link_libraries(${NAME} PRIVATE tavelo_qt_flags tavelo_qt_test_main)
        set_target_properties(${NAME} PROPERTIES AUTOMOC ON)
    else()
        target_link_libraries(${NAME} PRIVATE GTest::gmock_main)
    endif()
    # The sources of a test are written to stand alone, each with helpers of its own.
    set_target_properties(${NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests UNITY_BUILD OFF)
    if(TAVELO_PRECOMPILE_TESTS AND ARG_QT)
        target_precompile_headers(${NAME} REUSE_FROM tavelo_qt_test_headers)
    elseif(TAVELO_PRECOMPILE_TESTS)
        target_precompile_headers(${NAME} REUSE_FROM tavelo_test_headers)
    endif()
    if(NOT ARG_LABELS)
        set(ARG_LABELS unit)
    endif()
    if(ARG_BUS)
        add_test(NAME ${NAME} COMMAND dbus-run-session -- $<TARGET_FILE:${NAME}>)
    else()
        add_test(NAME ${NAME} COMMAND ${NAME})
    endif()
    set_tests_properties(${NAME} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT 120 SKIP_RETURN_CODE 77)
    if(ARG_QT)
        set_tests_properties(${NAME} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
    endif()
endfunction()
