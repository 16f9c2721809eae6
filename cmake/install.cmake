# What `cmake --install` puts where. The installed folder may be moved: nothing in it names its place.
set_target_properties(zvclr_static PROPERTIES EXPORT_NAME static)
set_target_properties(zverror PROPERTIES EXPORT_NAME error)

install(TARGETS zvclr zvclr_static zverror EXPORT zvclr-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
foreach(program zvclr_tool zvclr_settings)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  endif()
endforeach()

if(WIN32)
  install(FILES $<TARGET_OBJECTS:zvclr_blocks> DESTINATION ${CMAKE_INSTALL_LIBDIR} RENAME zvclr-blocks.o
    COMPONENT development)
  set(ZVCLR_PC_BLOCKS " \${libdir}/zvclr-blocks.o")
endif()

install(FILES include/zvclr.h include/zverror.h include/zvicc.h include/zvspaces.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(_zvclr_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zvclr)
configure_package_config_file(cmake/zvclr-config.cmake.in zvclr-config.cmake
  INSTALL_DESTINATION ${_zvclr_package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(zvclr-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zvclr-config.cmake ${CMAKE_CURRENT_BINARY_DIR}/zvclr-config-version.cmake
  DESTINATION ${_zvclr_package_dir} COMPONENT development)
install(EXPORT zvclr-targets NAMESPACE zvclr:: DESTINATION ${_zvclr_package_dir} COMPONENT development)

set(_zvclr_pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(ZVCLR_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH _zvclr_pc_up /prefix/${_zvclr_pc_dir} /prefix)
  string(REGEX REPLACE "/$" "" _zvclr_pc_up "${_zvclr_pc_up}")
  set(ZVCLR_PC_PREFIX "\${pcfiledir}/${_zvclr_pc_up}")
endif()
foreach(_zvclr_dir LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${_zvclr_dir}})
    set(ZVCLR_PC_${_zvclr_dir} ${CMAKE_INSTALL_${_zvclr_dir}})
  else()
    set(ZVCLR_PC_${_zvclr_dir} "\${prefix}/${CMAKE_INSTALL_${_zvclr_dir}}")
  endif()
endforeach()
list(TRANSFORM zvclr_system_libraries PREPEND " -l" OUTPUT_VARIABLE ZVCLR_PC_SYSTEM_LIBRARIES)
list(JOIN ZVCLR_PC_SYSTEM_LIBRARIES "" ZVCLR_PC_SYSTEM_LIBRARIES)
configure_file(cmake/zvclr.pc.in zvclr.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zvclr.pc DESTINATION ${_zvclr_pc_dir} COMPONENT development)

install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development FILES_MATCHING PATTERN "*.md"
  PATTERN "*.png")
