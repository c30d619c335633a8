# The gvfs test drives the real `kelo` command under its own session bus.
add_dependencies(${folder}_tests kelo)
target_compile_definitions(${folder}_tests PRIVATE KELO_CLI="$<TARGET_FILE:kelo>")
