# Writes the commit that a folder is a checkout of into a header, unless the header has it already.  Runs in every
# build, because a commit changes without a change of any file that is compiled.
#
# Usage: cmake -DSOURCE=FOLDER -DHEADER=FILE -P TaveloCommit.cmake

function(ask_git ANSWER)
    execute_process(COMMAND git --no-optional-locks -C ${SOURCE} ${ARGN}
        RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT status EQUAL 0)
        set(output "")
    endif()
    set(${ANSWER} "${output}" PARENT_SCOPE)
endfunction()

set(commit "")
ask_git(top rev-parse --show-toplevel)
file(REAL_PATH ${SOURCE} here)
# The folder may be an unpacked archive inside of somebody else's checkout.
if(top STREQUAL here)
    ask_git(commit rev-parse --short=12 HEAD)
    ask_git(changes status --porcelain --untracked-files=no)
    if(commit AND changes)
        string(APPEND commit ", changed")
    endif()
endif()
set(text "// The commit that the programs are built from, written by the build.\n#define TAVELO_COMMIT \"${commit}\"\n")
set(before "")
if(EXISTS ${HEADER})
    file(READ ${HEADER} before)
endif()
if(NOT before STREQUAL text)
    file(WRITE ${HEADER} "${text}")
endif()
