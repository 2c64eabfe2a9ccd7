// What a build is made from and with. CMake fills it in as core/build.h.
#pragma once

namespace ondrel {

inline constexpr char version[] = "@PROJECT_VERSION@";
inline constexpr char built_on[] = "@CMAKE_SYSTEM_NAME@ @CMAKE_SYSTEM_PROCESSOR@";
inline constexpr char built_with[] = "@compiler_and_flags@";

}  // namespace ondrel
