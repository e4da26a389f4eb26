// Numbers that item models and item windows share: roles, read states, change levels and column flags.
#pragma once
#include "app/services/types.h"

#include <Qt>

/// Item data roles beside Qt's own. Roles 35, 36, 47, 49, 50, 51 and 53 live in the model's attribute tables.
enum ITEM_ROLES : int {
    ROLE_SORT_VALUE = 33,     ///< numeric; first sort value, and the number that change detection compares
    ROLE_SORT_VALUE2 = 34,    ///< numeric; decides between equal first values
    ROLE_LAST_VALUE = 35,     ///< U32; the value change detection saw last
    ROLE_CHANGE_LEVEL = 36,   ///< U8; a CHANGE_LEVELS value
    ROLE_PINNED = 37,         ///< bool; stays at the head of its list under either sort order
    ROLE_ITEM_KEY = 38,       ///< U32; key of the attribute tables
    ROLE_FILTER_EXEMPT = 40,  ///< bool; the filter doesn't test the row
    ROLE_TIP_COLUMN = 42,     ///< int; column whose text the tool tip is about
    ROLE_TIP_ROW_HIDE = 43,   ///< int; above 0: the column stays out of the tool tip
    ROLE_COLUMN_FLAGS = 46,   ///< int, header only
    ROLE_DISPLAY_FORMAT = 47, ///< U8; an item's own format, on a header the column's
    ROLE_ITEM_TYPE = 48,      ///< int; a model's own item kinds
    ROLE_READ_STATE = 49,     ///< U8; a READ_STATES value
    ROLE_REFRESH_RATE = 50,   ///< int, hertz; inherited from the parent
    ROLE_MEM_ZONE = 51,       ///< QString; inherited from the parent
    ROLE_FILTER_TEXT = 52,    ///< QString; text for the filter where it differs from what is shown
    ROLE_EXPANDED = 53,       ///< U8; the item is unfolded
};

enum READ_STATES : U8 { READ_STATE_NONE = 0, READ_STATE_VALID = 1, READ_STATE_PENDING = 2 };

/// Age of a change: 1 is new, 3 the oldest that shows. 0 is the wrap of an aged level and counts as no
/// change.
enum CHANGE_LEVELS : U8 {
    CHANGE_LEVEL_WRAPPED = 0,
    CHANGE_LEVEL_1 = 1,
    CHANGE_LEVEL_3 = 3,
    CHANGE_LEVEL_NONE = 4
};

enum COLUMN_FLAGS : int {
    COLUMN_TEXT = 0x01,       ///< sorted and filtered as text, drawn with the name font
    COLUMN_VALUE_FONT = 0x02, ///< drawn with the value font in any case
    COLUMN_NUMERIC = 0x04,    ///< sorted by ROLE_SORT_VALUE, filtered by a range
    COLUMN_HEX = 0x08,        ///< shown in hexadecimal whatever the window's format
    COLUMN_DEC = 0x10,
    COLUMN_BINARY = 0x20,
    COLUMN_FLOAT = 0x40, ///< range filter compares as double
};

/// Item flags that mark a row whose value is stale; views draw it grey.
inline constexpr Qt::ItemFlags ITEM_FLAGS_STALE = Qt::ItemFlags(8 | 1024);
