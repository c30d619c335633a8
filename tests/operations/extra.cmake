# The program the fault harness runs under strace: one batch, nothing else.
add_executable(kelo_fault_batch ${CMAKE_CURRENT_SOURCE_DIR}/operations/fault_batch_main.cpp)
target_link_libraries(kelo_fault_batch PRIVATE kelo_core)
add_dependencies(${folder}_tests kelo_fault_batch)
target_compile_definitions(${folder}_tests PRIVATE KELO_FAULT_BATCH="$<TARGET_FILE:kelo_fault_batch>")
