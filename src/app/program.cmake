# The program itself.
add_executable(vantrel main.cpp)
target_include_directories(vantrel PRIVATE ${CMAKE_SOURCE_DIR}/src)
target_link_libraries(vantrel PRIVATE vantrel_flags app_shell app_batch app_services app_actions app_console
  project_settings device_queue device_target views_framework views_theme Qt6::Widgets)
set_target_properties(vantrel PROPERTIES BUILD_RPATH "$ORIGIN/../lib" INSTALL_RPATH "$ORIGIN/../lib")

# What a user needs: the program, the probe library, the core plug-ins, the register descriptions and the example programs.
add_custom_target(product DEPENDS vantrel bryllo bryllo_svd CorePluginARM CorePluginRISCV examples)

# The user guide lies where Help.UserGuide looks for it.
set(user_guide ${CMAKE_BINARY_DIR}/bin/Doc/UserGuide.html)
add_custom_command(OUTPUT ${user_guide} DEPENDS ${CMAKE_SOURCE_DIR}/docs/UserGuide.html VERBATIM
  COMMAND ${CMAKE_COMMAND} -E copy ${CMAKE_SOURCE_DIR}/docs/UserGuide.html ${user_guide})
add_custom_target(user_guide ALL DEPENDS ${user_guide})
add_dependencies(vantrel user_guide)
