# Compile flags of every target, in one interface library.

option(TAVELO_WERROR "Treat warnings as errors" OFF)
set(TAVELO_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined or thread")

add_library(tavelo_flags INTERFACE)
target_compile_features(tavelo_flags INTERFACE cxx_std_20)
target_compile_options(tavelo_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual -Wconversion
    -Woverloaded-virtual -Wformat=2 -Wimplicit-fallthrough -Wextra-semi
    # Sources that are compiled as one see each other's names.
    $<$<NOT:$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wshadow>
    # With optimisation GCC 12 wrongly warns about members of its own std::variant and std::optional.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
    # Clang wants two pairs of braces for a std::array.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-missing-braces>
    $<$<BOOL:${TAVELO_WERROR}>:-Werror>)

# Links in a fraction of the time, if it is installed; there are more than a hundred test programs.
find_program(TAVELO_MOLD mold)
mark_as_advanced(TAVELO_MOLD)
if(TAVELO_MOLD)
    target_link_options(tavelo_flags INTERFACE -fuse-ld=mold)
endif()

if(TAVELO_SANITIZE)
    target_compile_options(tavelo_flags INTERFACE
        -fsanitize=${TAVELO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    # With a sanitizer GCC turns --as-needed off; the programs should load the same libraries in every build.
    target_link_options(tavelo_flags INTERFACE -fsanitize=${TAVELO_SANITIZE} -Wl,--as-needed)
endif()

# Disables Qt's error-prone features in everything that uses Qt.
add_library(tavelo_qt_flags INTERFACE)
target_compile_definitions(tavelo_qt_flags INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_NO_CONTEXTLESS_CONNECT QT_NO_KEYWORDS QT_NO_FOREACH
    QT_NO_JAVA_STYLE_ITERATORS QT_DISABLE_DEPRECATED_BEFORE=0x060400)
