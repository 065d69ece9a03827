rav_library(RavSettings
    RavAdvancedSettingNames.cpp
    RavSetting.cpp
)
target_link_libraries(RavSettings PUBLIC RavCommon)
