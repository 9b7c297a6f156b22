# Vector targets. Each row file is compiled once for every target and the best one the machine has is chosen at
# run time. On x86 the least is SSE4.2 with AES and carry-less multiplication (any machine since 2011).
# SSSE3 lies below the baseline; AVX3_DL adds nothing that these rows use.
set(ZOPI_DISABLED_TARGETS "(HWY_SSSE3|HWY_AVX3_DL)" CACHE STRING "Vector targets for x86 that are left out")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  if(NOT ZOPI_STATIC_SIMD OR NOT CMAKE_CXX_FLAGS MATCHES "-march=")
    target_compile_options(zopim6 PRIVATE -march=x86-64-v2 -maes -mpclmul)
  endif()
  target_compile_definitions(zopim6 PRIVATE "HWY_DISABLED_TARGETS=${ZOPI_DISABLED_TARGETS}")
endif()

find_path(ZOPI_HWY_INCLUDE_DIR hwy/highway.h REQUIRED)
target_include_directories(zopim6 SYSTEM PRIVATE ${ZOPI_HWY_INCLUDE_DIR})
if(ZOPI_STATIC_SIMD)
  target_compile_definitions(zopim6 PRIVATE HWY_COMPILE_ONLY_STATIC)
else()
  find_library(ZOPI_HWY_LIBRARY hwy REQUIRED)
  target_link_libraries(zopim6 PRIVATE ${ZOPI_HWY_LIBRARY})
  target_compile_definitions(zopim6 PRIVATE HWY_SHARED_DEFINE)
endif()
