# Directories are installed with the umask of who makes the package; everybody has to get in.
execute_process(COMMAND chmod -R u=rwX,go=rX ${CPACK_TEMPORARY_DIRECTORY}
  COMMAND_ERROR_IS_FATAL ANY)
