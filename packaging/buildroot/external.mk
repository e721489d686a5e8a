include $(sort $(wildcard $(BR2_EXTERNAL_BRINDLE_PATH)/package/*/*.mk))
