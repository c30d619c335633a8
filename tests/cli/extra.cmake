# The command-line tests run the real `kelo` program.
add_dependencies(cli_tests kelo)
target_compile_definitions(cli_tests PRIVATE KELO_BINARY="$<TARGET_FILE:kelo>")
