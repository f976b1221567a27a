# What `cmake --install` puts where, in three components: "daemon" for a device or an
# image, "ruvoctl" for the machine of somebody who writes its settings, "devkit" for that
# of somebody who tries it out.

install(TARGETS ruvotcpd RUNTIME DESTINATION "${CMAKE_INSTALL_SBINDIR}" COMPONENT daemon)
install(FILES docs/man/ruvotcpd.8 DESTINATION "${CMAKE_INSTALL_MANDIR}/man8" COMPONENT daemon)
install(FILES docs/man/ruvo.txt.5 DESTINATION "${CMAKE_INSTALL_MANDIR}/man5" COMPONENT daemon)
install(FILES README.md CHANGELOG.md LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}"
  COMPONENT daemon)
install(DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT daemon
  FILES_MATCHING PATTERN "*.md" PATTERN man EXCLUDE)

if(TARGET ruvoctl)
  install(TARGETS ruvoctl RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ruvoctl)
  install(FILES docs/man/ruvoctl.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT ruvoctl)
  install(FILES "${CMAKE_BINARY_DIR}/ruvoctl/ruvo-checks.7"
    DESTINATION "${CMAKE_INSTALL_MANDIR}/man7" COMPONENT ruvoctl)
  # Each shell looks for completions in a folder of its own, and by name.
  install(FILES ruvoctl/completions/ruvoctl.bash
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" RENAME ruvoctl
    COMPONENT ruvoctl)
  install(FILES ruvoctl/completions/_ruvoctl
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" COMPONENT ruvoctl)
  install(FILES ruvoctl/completions/ruvoctl.fish
    DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT ruvoctl)
endif()

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
