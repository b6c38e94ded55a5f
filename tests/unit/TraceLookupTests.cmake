# The trace facility finds its plug-in before main, from the place where its program stands. So the tests of the lookup
# run a small probe in application folders of its own, with plug-ins that say who they are.

# test_plug_in(<name> [KTRTRACE|KTRTRACERAW|KTRTRACEFILENAME]...): a plug-in by that name with those entry points.
function(test_plug_in name)
  add_library(test_plugin_${name} MODULE classic_client/unifiedtram/plugin/TestPlugin.cpp)
  target_link_libraries(test_plugin_${name} PRIVATE record_converter_options)
  target_compile_definitions(test_plugin_${name} PRIVATE "TEST_PLUGIN_NAME=\"${name}\"" ${ARGN})
endfunction()

test_plug_in(inside TEST_PLUGIN_TRACE TEST_PLUGIN_RAW TEST_PLUGIN_FILENAME)
test_plug_in(beside TEST_PLUGIN_TRACE TEST_PLUGIN_RAW TEST_PLUGIN_FILENAME)
test_plug_in(no-raw TEST_PLUGIN_TRACE TEST_PLUGIN_FILENAME)
test_plug_in(no-trace TEST_PLUGIN_RAW TEST_PLUGIN_FILENAME)
test_plug_in(no-filename TEST_PLUGIN_TRACE TEST_PLUGIN_RAW)
test_plug_in(empty)

add_executable(trace_probe classic_client/unifiedtram/plugin/TraceProbe.cpp)
target_link_libraries(trace_probe PRIVATE unifiedtram record_converter_options)

add_executable(trace_lookup_tests classic_client/unifiedtram/TracePlugInLookupTest.cpp)
target_link_libraries(trace_lookup_tests PRIVATE temporary_folder record_converter_options GTest::gtest_main)
target_compile_definitions(trace_lookup_tests PRIVATE
  "TRACE_PROBE=\"$<TARGET_FILE:trace_probe>\""
  "PLUGIN_INSIDE=\"$<TARGET_FILE:test_plugin_inside>\""
  "PLUGIN_BESIDE=\"$<TARGET_FILE:test_plugin_beside>\""
  "PLUGIN_NO_RAW=\"$<TARGET_FILE:test_plugin_no-raw>\""
  "PLUGIN_NO_TRACE=\"$<TARGET_FILE:test_plugin_no-trace>\""
  "PLUGIN_NO_FILENAME=\"$<TARGET_FILE:test_plugin_no-filename>\""
  "PLUGIN_EMPTY=\"$<TARGET_FILE:test_plugin_empty>\"")
add_dependencies(trace_lookup_tests trace_probe test_plugin_inside test_plugin_beside test_plugin_no-raw
  test_plugin_no-trace test_plugin_no-filename test_plugin_empty)
gtest_discover_tests(trace_lookup_tests PROPERTIES TIMEOUT 60)
