# Sourced: the Debian packages that the tree needs, by purpose.
build_packages=(g++ cmake ninja-build pkg-config libboost-dev libboost-thread-dev libboost-system-dev rapidjson-dev
  libcli11-dev)
test_packages=(libgtest-dev libgmock-dev socat)
range_packages=(libmosquitto-dev libsqlite3-dev zlib1g-dev)
range_test_packages=(mosquitto mosquitto-clients openssl python3-jsonschema)
page_packages=(chromium chromium-driver python3-selenium)
lint_packages=(clang clang-format clang-tidy)
fuzz_packages=(clang libclang-rt-dev)
bench_packages=(libbenchmark-dev libmodbus-dev nlohmann-json3-dev valgrind)
package_packages=(help2man dpkg-dev file)
mingw_packages=(g++-mingw-w64-x86-64-posix googletest)
windows_packages=("${mingw_packages[@]}" wine wine64)
mono_packages=(mono-mcs mono-runtime libmono-system-core4.0-cil binutils)
