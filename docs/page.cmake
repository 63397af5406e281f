# Makes a page for browsers of a page of Markdown.
#
# cmake -DCMARK=PROGRAM -DTEMPLATE=FILE -DSOURCE=FILE.md -DPAGE=FILE.html -P page.cmake
execute_process(COMMAND ${CMARK} --extension table ${SOURCE} OUTPUT_VARIABLE body COMMAND_ERROR_IS_FATAL ANY)
# All pages and pictures lie in one folder there.
string(REGEX REPLACE "(href|src)=\"\\.\\./" "\\1=\"" body "${body}")
string(REPLACE "\"README.md\"" "\"index.html\"" body "${body}")
string(REGEX REPLACE "(href=\"[^\":]+)\\.md\"" "\\1.html\"" body "${body}")
string(REGEX MATCH "<h1>([^<]*)</h1>" heading "${body}")
set(title "${CMAKE_MATCH_1}")
configure_file(${TEMPLATE} ${PAGE} @ONLY)
