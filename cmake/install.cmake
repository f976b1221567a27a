# What `cmake --install` puts where, in two components: "daemon" for a device or an
# image, "devkit" for the machine of somebody who tries it out.

install(TARGETS ruvotcpd RUNTIME DESTINATION "${CMAKE_INSTALL_SBINDIR}" COMPONENT daemon)
install(FILES docs/man/ruvotcpd.8 DESTINATION "${CMAKE_INSTALL_MANDIR}/man8" COMPONENT daemon)
install(FILES README.md CHANGELOG.md LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}"
  COMPONENT daemon)
install(DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT daemon
  FILES_MATCHING PATTERN "*.md" PATTERN man EXCLUDE)

if(TARGET userconfigtool AND NOT RUVO_DEVKIT_FROM)
  # In a folder of their own: on no path does the simulated userconfigtool stand in front
  # of a device's own.
  install(TARGETS userconfigtool ruvo-status-service ruvo-receiver ruvo-world
    RUNTIME DESTINATION "${CMAKE_INSTALL_LIBEXECDIR}/ruvotcpd" COMPONENT devkit)
  if(NOT RUVO_STATIC)
    set(component devkit)
    if(RUVO_PLATFORM_LIBRARY STREQUAL "simulated")
      set(component daemon)  # which does not start without it
      file(RELATIVE_PATH from_daemon
        "${CMAKE_INSTALL_FULL_SBINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}/ruvotcpd")
      set_target_properties(ruvotcpd PROPERTIES INSTALL_RPATH "$ORIGIN/${from_daemon}")
    endif()
    install(TARGETS ruvo_simulated_platform
      LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/ruvotcpd" COMPONENT "${component}")
  endif()
endif()
