# GOX for Windows with the distribution's MinGW compilers (posix threads), over what
# scripts/windows/build-libraries.sh has built.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(gox_triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${gox_triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${gox_triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${gox_triplet}-windres)

if(DEFINED ENV{GOX_WINDOWS_CACHE})
  set(gox_windows_cache "$ENV{GOX_WINDOWS_CACHE}")
elseif(DEFINED ENV{XDG_CACHE_HOME})
  set(gox_windows_cache "$ENV{XDG_CACHE_HOME}/gox-windows")
else()
  set(gox_windows_cache "$ENV{HOME}/.cache/gox-windows")
endif()

# What the caller names, such as an installed kit, counts as much as the libraries.
set(CMAKE_FIND_ROOT_PATH "${gox_windows_cache}/prefix" ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind LIBRARY INCLUDE PACKAGE)
  if(NOT DEFINED CMAKE_FIND_ROOT_PATH_MODE_${kind})
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
  endif()
endforeach()
if(NOT DEFINED ENV{PKG_CONFIG_LIBDIR})
  set(ENV{PKG_CONFIG_LIBDIR} "${gox_windows_cache}/prefix/lib/pkgconfig")
endif()
