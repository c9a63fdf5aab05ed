# tw_add_library(<subsystem> DEPS <libs...> [EXCLUDE <files...>]): the static library
# tw_<subsystem> from every .cpp of src/<subsystem> but those named after EXCLUDE (a program's
# main). Headers are included as "<subsystem>/Header.h".
#
# The layer order is a fact of the build: a library sees its own headers and those of the
# libraries it links, nothing else. Each library gets an include root of its own in the build
# tree, holding one link "<subsystem>" to its folder; linking a library passes on its root. A
# header that reaches up the order is therefore not found. scripts/check_layers.sh checks the
# order itself (also for headers that no file compiles yet) and runs with the tests.
function(tw_add_library subsystem)
    cmake_parse_arguments(ARG "" "" "DEPS;EXCLUDE" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    foreach(excluded IN LISTS ARG_EXCLUDE)
        list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${excluded})
    endforeach()
    add_library(tw_${subsystem} STATIC ${sources})
    set(root ${PROJECT_BINARY_DIR}/include/${subsystem})
    file(MAKE_DIRECTORY ${root})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${subsystem} SYMBOLIC)
    target_include_directories(tw_${subsystem} PUBLIC ${root})
    target_link_libraries(tw_${subsystem} PUBLIC ${ARG_DEPS})
endfunction()

# tw_add_test(<subsystem> DEPS <libs...> [PCH <headers...>]): one GoogleTest binary per library
# from every .cpp of tests/<subsystem>, registered with ctest.
#
# The tests' own sources build with -O1: they measure nothing, and the libraries they test keep
# the release flags. GoogleTest, GoogleMock and the headers named after PCH are precompiled once
# per binary.
function(tw_add_test subsystem)
    cmake_parse_arguments(ARG "" "" "DEPS;PCH" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    add_executable(test_${subsystem} ${sources})
    target_link_libraries(test_${subsystem} PRIVATE ${ARG_DEPS} GTest::gtest GTest::gtest_main
                                                    GTest::gmock)
    target_include_directories(test_${subsystem} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_compile_options(test_${subsystem} PRIVATE -O1)
    target_precompile_headers(test_${subsystem} PRIVATE <gtest/gtest.h> <gmock/gmock.h>
                              ${ARG_PCH})
    gtest_discover_tests(test_${subsystem} DISCOVERY_TIMEOUT 60
                         PROPERTIES ENVIRONMENT "LC_ALL=C.UTF-8")
endfunction()
