# cncprobe_add_gtest(<target> <labels>): registers a GoogleTest program with CTest.
# Natively every test case is a CTest test of its own. A cross build runs its programs under an
# emulator (Wine), where starting a process costs about a second: each program runs once, whole.
include(GoogleTest)
function(cncprobe_add_gtest target labels)
  if(CMAKE_CROSSCOMPILING)
    add_test(NAME ${target} COMMAND ${target} --gtest_brief=1)
    set_tests_properties(${target} PROPERTIES LABELS "${labels}" TIMEOUT 900)
  else()
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST PROPERTIES LABELS "${labels}")
  endif()
endfunction()
