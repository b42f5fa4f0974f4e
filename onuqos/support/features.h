#pragma once

/// The numbers of the platform features that the module asks for.
enum PlatformFeature : int {
    kOnuEquipmentFeature = 5,  ///< there are ONU equipment events
    kHighRateFeature = 13,     ///< this or the next puts the OLT into the 10G bandwidth class
    kTenGFeature = 15
};
