# File readers: one for the routes file, shared by the stand-ins that resolve net ids, and one for any regular file.
include_guard(GLOBAL)
add_library(zo_routes STATIC ${CMAKE_CURRENT_LIST_DIR}/regular_file.cpp ${CMAKE_CURRENT_LIST_DIR}/routes.cpp)
target_include_directories(zo_routes PUBLIC ${PROJECT_SOURCE_DIR})
target_link_libraries(zo_routes PRIVATE zo_options nlohmann_json::nlohmann_json ${CMAKE_DL_LIBS})
