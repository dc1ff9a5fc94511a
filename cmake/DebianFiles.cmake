# Run by cpack over the folders that become packages: adds what Debian wants of each beyond what an installation has.
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
string(TIMESTAMP year "%Y" UTC)
set(package_of_Runtime roi)
set(package_of_Devel libroi-dev)

foreach(component Runtime Devel)
    set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr)
    set(doc ${root}/share/doc/${package_of_${component}})
    file(WRITE ${doc}/copyright
        "Copyright ${year} ${CPACK_PACKAGE_CONTACT}\n\nNo licence is chosen: that is the owner's to decide.\n")
    file(WRITE ${doc}/changelog
        "roi (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
        "  * What is new is in /usr/share/doc/roi/CHANGELOG.md.\n\n"
        " -- ${CPACK_PACKAGE_CONTACT}  ${now}\n")
    file(GLOB_RECURSE texts ${doc}/changelog ${root}/share/man/*.1)
    file(GLOB_RECURSE archives ${root}/lib/*.a)
    execute_process(COMMAND gzip -9nf ${texts} COMMAND_ERROR_IS_FATAL ANY)
    if(archives)
        execute_process(COMMAND strip --strip-debug --enable-deterministic-archives ${archives} COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()
