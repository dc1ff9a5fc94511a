# Run by cpack over the folders that become packages: adds what Debian wants to find in each.
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)

foreach(component package IN ZIP_LISTS CPACK_COMPONENTS_ALL packages)
endforeach()
