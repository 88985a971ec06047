# Warnings are errors, in every compiler.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                    -Wimplicit-fallthrough -Werror)
