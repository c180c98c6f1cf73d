# What example_${name} links besides the library: the platform's threads.
find_package(Threads REQUIRED)
target_link_libraries(example_${name} PRIVATE Threads::Threads)
