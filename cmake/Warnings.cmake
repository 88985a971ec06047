# Warnings are errors, in every compiler.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                    -Wimplicit-fallthrough -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 takes moved-from std::variant members for uninitialized ones, and a literal joined to a
  # std::string for an overlapping copy, when it inlines.
  add_compile_options(-Wno-maybe-uninitialized -Wno-restrict)
endif()
if(port STREQUAL macos)
  # Nothing that the oldest supported system lacks.
  add_compile_options(-Wunguarded-availability -Wunguarded-availability-new)
endif()
