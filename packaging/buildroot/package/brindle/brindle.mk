################################################################################
#
# brindle
#
################################################################################

# The tree that contains this directory. A local site has no version.
BRINDLE_SITE = $(realpath $(BR2_EXTERNAL_BRINDLE_PATH)/../..)
BRINDLE_SITE_METHOD = local
BRINDLE_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude /build
# The owner has not chosen a licence, so legal-info must not distribute the sources.
BRINDLE_REDISTRIBUTE = NO
BRINDLE_DEPENDENCIES = host-pkgconf apr util-linux
BRINDLE_SUPPORTS_IN_SOURCE_BUILD = NO
BRINDLE_CONF_OPTS = \
	-DBRINDLE_BUILD_TESTS=OFF \
	-DBRINDLE_BUILD_EXAMPLES=OFF

# The staging directory gets everything, because other packages compile against the library.
BRINDLE_INSTALL_STAGING = YES

# The target gets only the shared library.
define BRINDLE_INSTALL_TARGET_CMDS
	$(TARGET_MAKE_ENV) DESTDIR=$(TARGET_DIR) $(BR2_CMAKE) \
		--install $(BRINDLE_BUILDDIR) --component Runtime
endef

$(eval $(cmake-package))
