# The client itself: the spine in src/main.cpp on top of all layers, its resources and translations, and the tree that
# `cmake --install` lays down.
add_executable(VandrelQN src/main.cpp resources/vandrel.qrc)
target_link_libraries(VandrelQN PRIVATE vn_view)
set_source_files_properties(src/main.cpp PROPERTIES COMPILE_DEFINITIONS VN_UPDATE_KEY="${VN_UPDATE_KEY}")
install(TARGETS VandrelQN RUNTIME DESTINATION .)

# What stands beside the program: the build's own tree has it too, so that it runs where it's built. An address file
# that is there already is someone's own.
install(CODE "if(NOT EXISTS \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/service.ini\")
  file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}\" TYPE FILE FILES \"${CMAKE_SOURCE_DIR}/resources/service.ini\")
endif()")
file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
if(NOT EXISTS ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/service.ini)
  file(COPY resources/service.ini DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endif()
install(DIRECTORY resources/web DESTINATION .)
file(COPY resources/web DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})

# The oldest versions look for their script in a folder of their own; one source serves all.
install(DIRECTORY scripts DESTINATION . PATTERN "__pycache__" EXCLUDE PATTERN "*.pyc" EXCLUDE)
install(DIRECTORY scripts/maya/p27/ DESTINATION scripts/maya/p26 PATTERN "__pycache__" EXCLUDE PATTERN "*.pyc" EXCLUDE)
set(scripts ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/scripts)
add_custom_target(scripts ALL
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${CMAKE_SOURCE_DIR}/scripts ${scripts}
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${CMAKE_SOURCE_DIR}/scripts/maya/p27 ${scripts}/maya/p26)
add_dependencies(VandrelQN scripts)

set_source_files_properties(translations/zh_en.ts PROPERTIES OUTPUT_LOCATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
qt5_add_translation(qm translations/zh_en.ts)
add_custom_target(translations ALL DEPENDS ${qm})
add_dependencies(VandrelQN translations)
install(FILES ${qm} DESTINATION .)
# The toolkit's own words, on buttons and in menus of text fields, in Chinese.
find_file(QT_ZH_CN qtbase_zh_CN.qm PATHS ${Qt5_DIR}/../../../../share/qt5/translations /usr/share/qt5/translations REQUIRED)
file(COPY ${QT_ZH_CN} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
install(FILES ${QT_ZH_CN} DESTINATION .)
