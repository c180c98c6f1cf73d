# Looking up a view among strings, without a string built of it, is C++20 for the standard library's maps.
set_target_properties(example_log_analyser PROPERTIES CXX_STANDARD 20)
