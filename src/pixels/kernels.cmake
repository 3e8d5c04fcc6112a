# The image kernels. Sets MARAVEL_KERNEL_SOURCES, relative to src/, and gives each source the instruction set
# that it is written for; all others keep the compiler's own, so that only what was chosen at run time needs more.
set(MARAVEL_KERNEL_SOURCES
  platform/ProcessorFeatures.cpp
  pixels/InstructionSet.cpp
  pixels/PayloadCopy.cpp
  pixels/PayloadCopyAvx2.cpp
  pixels/PlanarSplit.cpp
  pixels/PlanarSplitAvx2.cpp
  pixels/PlanarSplitAvx512Vbmi.cpp
  pixels/PlanarSplitSsse3.cpp
  pixels/StoreChoice.cpp)

function(maravel_kernel_options source)
  set_source_files_properties(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../${source} PROPERTIES COMPILE_OPTIONS "${ARGN}")
endfunction()

if(MSVC)
  maravel_kernel_options(pixels/PayloadCopyAvx2.cpp /arch:AVX2)
  maravel_kernel_options(pixels/PlanarSplitAvx2.cpp /arch:AVX2)
  maravel_kernel_options(pixels/PlanarSplitAvx512Vbmi.cpp /arch:AVX512)
else()
  maravel_kernel_options(platform/ProcessorFeatures.cpp -mxsave)
  maravel_kernel_options(pixels/PayloadCopyAvx2.cpp -mavx2)
  maravel_kernel_options(pixels/PlanarSplitAvx2.cpp -mavx2)
  maravel_kernel_options(pixels/PlanarSplitAvx512Vbmi.cpp -mavx512f -mavx512bw -mavx512vbmi)
  maravel_kernel_options(pixels/PlanarSplitSsse3.cpp -mssse3)
endif()

# The same kernels by themselves, for their tests and benchmarks.
list(TRANSFORM MARAVEL_KERNEL_SOURCES PREPEND ${CMAKE_CURRENT_LIST_DIR}/../ OUTPUT_VARIABLE kernel_paths)
add_library(maravel_kernels STATIC EXCLUDE_FROM_ALL ${kernel_paths})
target_link_libraries(maravel_kernels PUBLIC maravel_options)
target_include_directories(maravel_kernels PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
