# peer_bench, and the inputs of the whole commands.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
foreach(peer libcurl libidn2 libmaxminddb libndpi libpsl liburiparser)
    pkg_check_modules(${peer} REQUIRED IMPORTED_TARGET ${peer})
    list(APPEND peers PkgConfig::${peer})
endforeach()

# pkg-config names all libraries of DPDK and an instruction set, which is for one file alone.
pkg_check_modules(dpdk REQUIRED libdpdk)
foreach(part rte_eal rte_fib rte_lpm)
    find_library(${part}_library ${part} REQUIRED)
    list(APPEND peers ${${part}_library})
endforeach()

set(ask_sources ask_hosts.cpp ask_routes.cpp ask_names.cpp ask_urls.cpp ask_texts.cpp ask_threads.cpp)
add_executable(peer_bench peer_bench.cpp ${ask_sources} dpdk_tables.cpp maxmind_database.cpp patricia_tree.cpp
    peer_memory.cpp prefixes.cpp public_suffixes.cpp)
target_link_libraries(peer_bench PRIVATE bench_lists absl::flat_hash_map absl::flat_hash_set absl::hash
    Threads::Threads ${peers})
set_source_files_properties(dpdk_tables.cpp PROPERTIES COMPILE_OPTIONS "${dpdk_CFLAGS_OTHER}")
target_include_directories(peer_bench SYSTEM PRIVATE ${dpdk_INCLUDE_DIRS})

add_executable(peer_inputs peer_inputs.cpp)
target_link_libraries(peer_inputs PRIVATE bench_lists)

add_dependencies(bench peer_bench peer_inputs)
