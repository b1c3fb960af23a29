# cmake -DBUILD=<directory> -DPREFIX=<directory> -DCONFIG=<configuration> -P install_and_move.cmake
# Installs to another place first and moves the tree to PREFIX.
file(REMOVE_RECURSE "${PREFIX}" "${PREFIX}-before")
execute_process(
    COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${PREFIX}-before" --config "${CONFIG}"
    COMMAND_ERROR_IS_FATAL ANY)
file(RENAME "${PREFIX}-before" "${PREFIX}")
