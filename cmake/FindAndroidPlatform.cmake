# The platform libraries as Debian packages them: headers under /usr/include/android, libraries under
# /usr/lib/<triple>/android.
#
#   AndroidPlatform::log   liblog, with <android/log.h> and <log/log.h>
#   AndroidPlatform::base  libbase, with <android-base/...>

find_path(AndroidPlatform_INCLUDE_DIR log/log.h PATH_SUFFIXES android)
find_library(AndroidPlatform_LOG_LIBRARY log PATH_SUFFIXES android)
find_library(AndroidPlatform_BASE_LIBRARY base PATH_SUFFIXES android)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(AndroidPlatform
  REQUIRED_VARS AndroidPlatform_LOG_LIBRARY AndroidPlatform_BASE_LIBRARY AndroidPlatform_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "install the packages android-liblog-dev and android-libbase-dev")

foreach(name LOG BASE)
  string(TOLOWER ${name} target)
  if(AndroidPlatform_FOUND AND NOT TARGET AndroidPlatform::${target})
    add_library(AndroidPlatform::${target} UNKNOWN IMPORTED)
    set_target_properties(AndroidPlatform::${target} PROPERTIES
      IMPORTED_LOCATION ${AndroidPlatform_${name}_LIBRARY}
      INTERFACE_INCLUDE_DIRECTORIES ${AndroidPlatform_INCLUDE_DIR})
  endif()
endforeach()
