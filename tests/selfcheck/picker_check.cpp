#include "selfcheck/picker_check.h"

#include "search/movepicker.h"
#include "selfcheck/checks.h"

bool runMovePickerOrderTest() {
    return PickerCheck<MovePicker>().run();
}
