################################################################################
#
# brindle
#
################################################################################

# The tree in which this directory lies. A local site has no version.
BRINDLE_SITE = $(realpath $(BR2_EXTERNAL_BRINDLE_PATH)/../..)
BRINDLE_SITE_METHOD = local
BRINDLE_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude /build
# No licence has been chosen, so legal-info must not hand out the sources.
BRINDLE_REDISTRIBUTE = NO
BRINDLE_DEPENDENCIES = host-pkgconf apr util-linux
BRINDLE_SUPPORTS_IN_SOURCE_BUILD = NO
BRINDLE_CONF_OPTS = \
	-DBRINDLE_BUILD_TESTS=OFF \
	-DBRINDLE_BUILD_EXAMPLES=OFF

# The staging directory gets everything, because other packages compile against it.
BRINDLE_INSTALL_STAGING = YES

# The target gets the shared library alone.
define BRINDLE_INSTALL_TARGET_CMDS
	$(TARGET_MAKE_ENV) DESTDIR=$(TARGET_DIR) $(BR2_CMAKE) \
		--install $(BRINDLE_BUILDDIR) --component Runtime
endef

$(eval $(cmake-package))
