// Names and levels that the array's provider modules share.
#ifndef QBX_Constants_h
#define QBX_Constants_h

#include <initializer_list>

/// The CIM library's namespace, and the toolkit's.
namespace Pegasus
{

/// The CIM namespace of everything the array's modules publish.
constexpr char QBX_NAMESPACE[] = "root/qbx";

/// Levels of log_message().
constexpr int QBX_LOG_FAILURE = 2;   ///< something failed that is worth reporting
constexpr int QBX_LOG_REJECTED = 3;  ///< an input was rejected
constexpr int QBX_LOG_TRACE = 4;     ///< an operation began or ended

/// What QBX_Common::getParameter() returns.
constexpr int QBX_PARAMETER_READ = 0;             ///< read
constexpr int QBX_PARAMETER_MISSING = 3;          ///< absent, or only null values
constexpr int QBX_PARAMETER_READ_AFTER_NULL = 4;  ///< read, but a null value stood before it

///@{
/// A class of elements.
constexpr char QBX_DRIVE_CAGE[] = "QBX_DriveCage";
constexpr char QBX_DRIVE_CAGE_DC1[] = "QBX_DriveCageDC1Family";
constexpr char QBX_DRIVE_CAGE_DC2[] = "QBX_DriveCageDC2Family";
constexpr char QBX_DRIVE_CAGE_DC3[] = "QBX_DriveCageDC3Family";
constexpr char QBX_CAGE_SENSOR[] = "QBX_CageSensor";
constexpr char QBX_MAGAZINE[] = "QBX_Magazine";
constexpr char QBX_INTERFACE_CARD[] = "QBX_CageInterfaceCard";
constexpr char QBX_INTERFACE_CARD_DC1[] = "QBX_CageInterfaceCardDC1Family";
constexpr char QBX_INTERFACE_CARD_DC2[] = "QBX_CageInterfaceCardDC2Family";
constexpr char QBX_INTERFACE_CARD_DC3[] = "QBX_CageInterfaceCardDC3Family";
///@}

///@{
/// The classes of drive cages, and of interface cards, in the order in which they are tested.
constexpr std::initializer_list<const char*> QBX_DRIVE_CAGES = {
    QBX_DRIVE_CAGE, QBX_DRIVE_CAGE_DC1, QBX_DRIVE_CAGE_DC3, QBX_DRIVE_CAGE_DC2};
constexpr std::initializer_list<const char*> QBX_INTERFACE_CARDS = {
    QBX_INTERFACE_CARD, QBX_INTERFACE_CARD_DC1, QBX_INTERFACE_CARD_DC3, QBX_INTERFACE_CARD_DC2};
///@}

///@{
/// A system-level class, published by other modules of the same server.
constexpr char QBX_STORAGE_SYSTEM[] = "QBX_StorageSystem";
constexpr char QBX_SYSTEM_PACKAGE[] = "QBX_SystemPackage";
constexpr char QBX_STORAGE_SYSTEM_VIEW[] = "QBX_StorageSystemView";
///@}

///@{
/// The name of a key property.
constexpr char QBX_KEY_CREATION_CLASS_NAME[] = "CreationClassName";
constexpr char QBX_KEY_TAG[] = "Tag";
constexpr char QBX_KEY_DEVICE_ID[] = "DeviceID";
///@}

}  // namespace Pegasus

#endif
