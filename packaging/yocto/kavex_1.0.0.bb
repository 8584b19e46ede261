# A starting point for Yocto; it has not been tried yet.
#
# Put it into a layer as recipes-support/kavex/kavex_1.0.0.bb and set SRC_URI to the place of the sources. The log library
# comes from the recipe of the appliance, which sets RPROVIDES:${PN} = "kvsh-log". The package kavex-log is its stand-in,
# which images choose with PREFERRED_RPROVIDER_kvsh-log = "kavex".
SUMMARY = "Configuration and user library of the appliance"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=979f8b1b296c115c750920e2ad3b68f6"

SRC_URI = "https://downloads.example.org/kavex/kavex-${PV}.tar.gz"
SRC_URI[sha256sum] = ""

DEPENDS = "libxml2"

inherit cmake pkgconfig

EXTRA_OECMAKE = "-DCMAKE_BUILD_TYPE=MinSizeRel -DBUILD_TESTING=OFF -DKAVEX_EXAMPLES=OFF"

do_install:append() {
    install -d -m 0700 ${D}${sysconfdir}/kavex/conf
}

PACKAGES =+ "${PN}-tools ${PN}-log"
FILES:${PN}-tools = "${bindir}/kvio ${datadir}/bash-completion"
FILES:${PN}-log = "${libdir}/libkvsh_log.so.*"
CONFFILES:${PN} = "${sysconfdir}/kavex/conf"

# The library depends on the name kvsh-log alone: without PRIVATE_LIBS the stand-in would be installed with it.
RPROVIDES:${PN}-log = "kvsh-log"
PRIVATE_LIBS:${PN}-log = "libkvsh_log.so.1"
RDEPENDS:${PN} = "kvsh-log"
INSANE_SKIP:${PN} += "file-rdeps"
