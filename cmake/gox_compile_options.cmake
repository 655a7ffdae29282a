# The one place for compiler switches. gox_compile_options(<target>) gives a
# target of this project its warnings, allocation rule and sanitizers.
function(gox_compile_options target)
  target_compile_definitions(${target} PRIVATE
    QT_NO_CAST_TO_ASCII QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_DEPRECATED_WARNINGS)
  if(MSVC)
    # An allocation that fails gives a null pointer, so new must test for it.
    target_compile_options(${target} PRIVATE /W4 /utf-8 /permissive- /Zc:throwingNew-)
    if(GOX_WARNINGS_AS_ERRORS)
      target_compile_options(${target} PRIVATE /WX)
    endif()
    return()
  endif()
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # An allocation that fails gives a null pointer; without this switch the
    # compiler takes it for granted that new never does.
    target_compile_options(${target} PRIVATE -fcheck-new)
  endif()
  if(GOX_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(GOX_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${GOX_SANITIZE} -fno-omit-frame-pointer)
    target_compile_definitions(${target} PRIVATE GOX_SANITIZED) # they tell of a crash themselves
    target_link_options(${target} PRIVATE -fsanitize=${GOX_SANITIZE})
  endif()
endfunction()
