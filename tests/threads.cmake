# The threads test: separate readers on separate threads at once, batches of files on several
# threads agreeing with one file at a time (with the bench generator's runs), a listener reading
# probe paths while the extraction goes on, the run store writing a large file's points while it
# is extracted (SQLite), and the tool's ordered work. Part of every test build, and
# the only test of the ThreadSanitizer build (preset tsan, CNCPROBE_TSAN=ON), which builds just
# it and the library objects it links.
enable_testing()
find_package(GTest REQUIRED)
set(threads_objects)
foreach(component IN ITEMS platform foundation events macrooutput resultsfile extraction
    filereferences settings inspection)
  if(TARGET cncprobe_${component})
    list(APPEND threads_objects $<TARGET_OBJECTS:cncprobe_${component}>)
  endif()
endforeach()
add_executable(threads_test ${PROJECT_SOURCE_DIR}/tests/threads_test.cpp
  ${PROJECT_SOURCE_DIR}/tests/batch_extraction_test.cpp
  ${PROJECT_SOURCE_DIR}/tests/chunked_recognition_test.cpp
  ${PROJECT_SOURCE_DIR}/bench/results_file_generator.cpp
  ${PROJECT_SOURCE_DIR}/cncprobe/extraction/probe_path_listener_test.cpp
  ${PROJECT_SOURCE_DIR}/tools/ordered_work.cpp ${PROJECT_SOURCE_DIR}/tools/ordered_work_test.cpp
  ${threads_objects})
target_include_directories(threads_test PRIVATE ${PROJECT_SOURCE_DIR})
target_compile_definitions(threads_test PRIVATE CNCPROBE_STATIC
  CNCPROBE_TEST_DATA_DIR="${PROJECT_SOURCE_DIR}/tests/data"
  CNCPROBE_EXAMPLES_DIR="${PROJECT_SOURCE_DIR}/examples")
target_link_libraries(threads_test PRIVATE cncprobe_thirdparty cncprobe_test_warnings
  GTest::gtest GTest::gtest_main)
# The run store's own threads, where its libraries are at hand (the PostgreSQL cases skip).
if(NOT WIN32)
  find_package(PkgConfig)
  if(PKG_CONFIG_FOUND)
    pkg_check_modules(THREADS_SQLITE3 IMPORTED_TARGET sqlite3)
    pkg_check_modules(THREADS_NETTLE IMPORTED_TARGET nettle)
  endif()
  if(THREADS_SQLITE3_FOUND AND THREADS_NETTLE_FOUND)
    target_sources(threads_test PRIVATE
      ${PROJECT_SOURCE_DIR}/store/run_record.cpp ${PROJECT_SOURCE_DIR}/store/run_store.cpp
      ${PROJECT_SOURCE_DIR}/store/ingest.cpp ${PROJECT_SOURCE_DIR}/store/internal/content_hash.cpp
      ${PROJECT_SOURCE_DIR}/store/internal/sqlite_store.cpp
      ${PROJECT_SOURCE_DIR}/store/internal/postgres_store.cpp
      ${PROJECT_SOURCE_DIR}/store/run_store_test.cpp)
    target_link_libraries(threads_test PRIVATE PkgConfig::THREADS_SQLITE3 PkgConfig::THREADS_NETTLE)
  endif()
endif()
add_test(NAME threads COMMAND threads_test)
set_tests_properties(threads PROPERTIES LABELS "threads" TIMEOUT 300)
