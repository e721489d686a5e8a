################################################################################
#
# pumpd
#
################################################################################

PUMPD_SITE = $(BR2_EXTERNAL_BRINDLE_PATH)/package/pumpd/source
PUMPD_SITE_METHOD = local
PUMPD_DEPENDENCIES = brindle
PUMPD_SUPPORTS_IN_SOURCE_BUILD = NO

# CMake installs the program, its settings and the systemd unit. The scripts for other init systems are separate
# components.
define PUMPD_INSTALL_INIT_SYSV
	$(TARGET_MAKE_ENV) DESTDIR=$(TARGET_DIR) $(BR2_CMAKE) \
		--install $(PUMPD_BUILDDIR) --component init
endef

define PUMPD_INSTALL_INIT_OPENRC
	$(TARGET_MAKE_ENV) DESTDIR=$(TARGET_DIR) $(BR2_CMAKE) \
		--install $(PUMPD_BUILDDIR) --component openrc
endef

$(eval $(cmake-package))
