# The names the program is also installed under: a link named zel-dbg runs the debug variant,
# a link named after a plug-in runs as "zel-tool <plug-in> ...". Its manual page and its
# completion get a link of each name too.
set(ZEL_PROGRAM_LINKS zel-dbg log-control log-convert)

# Installs a symbolic link <name><suffix> to <target> in <dir> (relative to the install prefix)
# for each name above.
function(zel_install_program_links dir target suffix)
    foreach(link ${ZEL_PROGRAM_LINKS})
        install(CODE "
            set(dir \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${dir}\")
            message(STATUS \"Installing: \${dir}/${link}${suffix} -> ${target}\")
            file(CREATE_LINK ${target} \"\${dir}/${link}${suffix}\" SYMBOLIC)")
    endforeach()
endfunction()
