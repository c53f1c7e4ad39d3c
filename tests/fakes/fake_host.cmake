# The fake server, for the tests of what calls it.
add_library(zo_fake_host STATIC ${CMAKE_CURRENT_LIST_DIR}/fake_host.cpp)
target_include_directories(zo_fake_host PUBLIC ${PROJECT_SOURCE_DIR})
target_link_libraries(zo_fake_host PRIVATE zo_options PUBLIC zo_fakes zo_host ZoHmiSrvExt)
