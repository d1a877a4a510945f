# The platform libraries as Debian packages them: headers under /usr/include/android, libraries under
# /usr/lib/<triple>/android.
#
#   AndroidPlatform::headers  <android/log.h>, <log/log.h>, <android-base/...>
#   AndroidPlatform::log      liblog, with the headers
#   AndroidPlatform::base     libbase, with the headers; its C++ library is libstdc++

find_path(AndroidPlatform_INCLUDE_DIR log/log.h PATH_SUFFIXES android)
find_library(AndroidPlatform_LOG_LIBRARY log PATH_SUFFIXES android)
find_library(AndroidPlatform_BASE_LIBRARY base PATH_SUFFIXES android)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(AndroidPlatform
  REQUIRED_VARS AndroidPlatform_LOG_LIBRARY AndroidPlatform_BASE_LIBRARY AndroidPlatform_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "install the packages android-liblog-dev and android-libbase-dev")

if(AndroidPlatform_FOUND AND NOT TARGET AndroidPlatform::headers)
  add_library(AndroidPlatform::headers INTERFACE IMPORTED)
  set_target_properties(AndroidPlatform::headers PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES ${AndroidPlatform_INCLUDE_DIR})
endif()
foreach(name LOG BASE)
  string(TOLOWER ${name} target)
  if(AndroidPlatform_FOUND AND NOT TARGET AndroidPlatform::${target})
    add_library(AndroidPlatform::${target} UNKNOWN IMPORTED)
    set_target_properties(AndroidPlatform::${target} PROPERTIES
      IMPORTED_LOCATION ${AndroidPlatform_${name}_LIBRARY}
      INTERFACE_LINK_LIBRARIES AndroidPlatform::headers)
  endif()
endforeach()
