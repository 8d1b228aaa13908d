# Seeded generators of raw logs and documents, for benchmarks and for the tests that want much of them.
zarn_library(zarn_generators
  SOURCES
    ${PROJECT_SOURCE_DIR}/benchmarks/naive/correlation_join.cpp
    ${PROJECT_SOURCE_DIR}/benchmarks/support/correlation_generator.cpp
    ${PROJECT_SOURCE_DIR}/benchmarks/support/cpu_log_generator.cpp
    ${PROJECT_SOURCE_DIR}/benchmarks/support/ddr_generator.cpp
    ${PROJECT_SOURCE_DIR}/benchmarks/support/generator.cpp
    ${PROJECT_SOURCE_DIR}/benchmarks/support/mem_generator.cpp
    ${PROJECT_SOURCE_DIR}/benchmarks/support/perf_text_generator.cpp
  LINKS zarn_formats)
