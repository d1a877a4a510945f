#!/usr/bin/env bash
# Compares what libwardline.so exports with the symbol map, and looks at how it is linked:
#
#   exports_test.sh LIBRARY MAP PACKS-RELOCATIONS    the last is 1 where the linker can
set -euo pipefail

library=$1 map=$2 packs=$3
failures=0

report() {
  echo "FAILED: $1"
  failures=$((failures + 1))
}

mapfile -t exports < <(nm -D --defined-only "$library" | awk '{print $3}' | sort -u)
mapfile -t patterns < <(sed -n '/global:/,/local:/p' "$map" | grep -vE '#|global:|local:' | tr -d ' ;')

matches() { # matches SYMBOL PATTERN
  # shellcheck disable=SC2053  # A pattern, on purpose.
  [[ $1 == $2 ]]
}

for symbol in "${exports[@]}"; do
  for pattern in "${patterns[@]}"; do
    matches "$symbol" "$pattern" && continue 2
  done
  report "$symbol is exported but not in the map"
done

for pattern in "${patterns[@]}"; do
  for symbol in "${exports[@]}"; do
    matches "$symbol" "$pattern" && continue 2
  done
  report "$pattern is in the map but not exported"
done

messages=(StabEvent StabEvent_DataEntry_DoNotUse ArtLockTimeout ArtLockTimeoutData KeyValue
  MemMonitorEvent SMemMonitorEvent)
kinds=(_ZTV)
# Where the library was built with run-time types, as its messages' base class shows.
! nm -D --undefined-only "$library" | grep -q ' _ZTIN6google8protobuf11MessageLiteE$' ||
  kinds+=(_ZTI _ZTS)
for message in "${messages[@]}"; do
  for needed in "_${message}_default_instance_" "${kinds[@]/%/${#message}$message}"; do
    [[ " ${exports[*]} " == *" $needed "* ]] || report "$needed is not exported"
  done
done
for needed in notify_stab_ne notify_stab_system_killed notify_extra_log_finish notify_stab_block_logo; do
  [[ " ${exports[*]} " == *" $needed "* ]] || report "$needed is not exported"
done

# C++ names without what tells one C++ library from another.
demangle() {
  c++filt | sed -E 's/std::(__cxx11|__1)::/std::/g; s/\[abi:cxx11\]//g; s/ +>/>/g; s/ +>/>/g
    s/std::basic_string<char, std::char_traits<char>, std::allocator<char>>/STRING/g
    s/std::basic_istream<char, std::char_traits<char>>/std::istream/g'
}

# All that namespace android exports, as callers declare it.
android_exports() { printf '%s\n' "${exports[@]}" | demangle | grep '^android::' | sort; }
attributes='std::map<STRING, STRING, std::less<STRING>, '
attributes+='std::allocator<std::pair<STRING const, STRING>>> const*'
diff <(android_exports) <(sort <<END
android::cachedDeviceInfo
android::createMonitorPath()
android::flag
android::getCloudConfig(void (*)(android::__StabCloudConfig&))
android::getCmdline()
android::getTimestamp()
android::isDeviceInfoCached
android::millisecondsToDatetime(unsigned long)
android::needCoredump(char const*)
android::reportArtLockTimeout(STRING const&, STRING const&, unsigned long, unsigned long, \
STRING const&, STRING const&, STRING const&, STRING const&)
android::reportMemMonitorEvent(android::__MemKVPair*, unsigned long)
android::reportStabEvent(int, int, STRING const&, unsigned long, $attributes)
android::reportStabEventDirect(int, int, STRING const&, unsigned long, $attributes)
android::setMemKVPairValue(android::__MemKVPair*, long, ...)
android::startCloudConfigListenerThread()
END
) || report 'namespace android exports something else (<) than it should (>)'

for internal in '^_ZNK\?St' '^_ZSt' 'notify_stab_driver' '^_ZTVN6google' 'Scoped' 'monitorPath' \
  'Json' 'from_json' 'parseCloudConfig' 'Callbacks'; do
  ! printf '%s\n' "${exports[@]}" | grep "$internal" || report "$internal is exported"
done

dynamic=$(readelf -dW "$library")
grep -q 'SONAME.*\[libwardline\.so\]$' <<<"$dynamic" || report 'the SONAME is not libwardline.so'
grep -q 'NEEDED.*\[libprotobuf-lite\.so' <<<"$dynamic" || report 'not linked to the lite runtime'
! grep -q 'NEEDED.*\[libprotobuf\.so' <<<"$dynamic" || report 'linked to the full protobuf runtime'
! nm -D "$library" | grep -q '@@\?LIBWARDLINE' || report 'the exports carry a version'

grep -q 'FLAGS.*BIND_NOW' <<<"$dynamic" || report 'not bound at load'
segments=$(readelf -lW "$library")
grep -q GNU_RELRO <<<"$segments" || report 'writable after load'
[ "$packs" != 1 ] || grep -q '(RELR)' <<<"$dynamic" || report 'the relative relocations are not packed'

imports=$(nm -D --undefined-only "$library" | awk '{print $2}')
for import in __android_log_print property_get property_set property_get_int32 \
  _Z42__android_sysevents_buf_single_file_writesliPKhi \
  _Z30__android_sysevents_buf_writesliPKhi \
  '_ZN7android4base11GetPropertyE.*' '_ZN7android4base16ReadFileToStringE.*'; do
  grep -qx "$import" <<<"$imports" || report "$import is not called by its platform name"
done

# The JSON library's operations: documents are looked at through const alone, and nothing it raises is
# looked at.
json_imports() {
  nm -D --undefined-only "$library" | awk '$1 == "U" {print $2}' | demangle | grep -o '^Json::.*' | sort
}
diff <(json_imports) <(sort <<'END'
Json::operator>>(std::istream&, Json::Value&)
Json::Value::asBool() const
Json::Value::asString() const
Json::Value::asUInt() const
Json::Value::asUInt64() const
Json::Value::begin() const
Json::Value::end() const
Json::Value::getMemberNames() const
Json::ValueIteratorBase::deref() const
Json::ValueIteratorBase::increment()
Json::ValueIteratorBase::isEqual(Json::ValueIteratorBase const&) const
Json::Value::operator[](char const*) const
Json::Value::operator[](STRING const&) const
Json::Value::~Value()
Json::Value::Value(Json::ValueType)
END
) || report 'other operations of the JSON library are called (<) than should be (>)'

[ $failures = 0 ] || exit 1
echo "${#exports[@]} exports, as the map says"
