SUMMARY = "Building blocks for programs that keep running until they are told to stop"
SECTION = "libs"
# The owner has not chosen a licence, so the packages are for local use only.
LICENSE = "CLOSED"

DEPENDS = "apr util-linux-libuuid"

inherit cmake pkgconfig externalsrc

# The tree that contains this layer.
EXTERNALSRC = "${@os.path.abspath(os.path.join(d.getVar('THISDIR'), '../../../..'))}"

# Reads the version from CMakeLists.txt. A change of that file makes BitBake parse the recipe again.
def brindle_version(d):
    import re

    path = os.path.join(d.getVar('EXTERNALSRC'), 'CMakeLists.txt')
    bb.parse.mark_dependency(d, path)
    with open(path) as file:
        return re.search(r'(?m)^ +VERSION (\S+)$', file.read())[1]

PV = "${@brindle_version(d)}"

EXTRA_OECMAKE = "-DBRINDLE_BUILD_TESTS=OFF -DBRINDLE_BUILD_EXAMPLES=OFF"

# Must come before the other packages, which would claim the same files.
PACKAGES =+ "${PN}-new-daemon"
SUMMARY:${PN}-new-daemon = "Writes a daemon to start from"
FILES:${PN}-new-daemon = "${bindir}/brindle-new-daemon ${datadir}/brindle"
# The templates name interpreters, such as that of OpenRC. A daemon needs them, this package does not.
SKIP_FILEDEPS:${PN}-new-daemon = "1"
