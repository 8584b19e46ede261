# A starting point for Yocto; nobody has tried it yet.
#
# Put it into a layer as recipes-support/kavex/kavex_1.0.0.bb and set SRC_URI to where the sources are. The log library
# comes from the appliance's own recipe, which should say RPROVIDES:${PN} = "kvsh-log"; the package kavex-log is its
# stand-in.
SUMMARY = "Configuration and user library of the appliance"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=979f8b1b296c115c750920e2ad3b68f6"

SRC_URI = "https://downloads.example.org/kavex/kavex-${PV}.tar.gz"
SRC_URI[sha256sum] = ""

DEPENDS = "libxml2"

inherit cmake pkgconfig

EXTRA_OECMAKE = "-DCMAKE_BUILD_TYPE=MinSizeRel -DBUILD_TESTING=OFF -DKAVEX_EXAMPLES=OFF"

PACKAGES =+ "${PN}-tools ${PN}-log"
FILES:${PN}-tools = "${bindir}/kvio ${datadir}/bash-completion"
FILES:${PN}-log = "${libdir}/libkvsh_log.so.*"
RPROVIDES:${PN}-log = "kvsh-log"
RDEPENDS:${PN} = "kvsh-log"
