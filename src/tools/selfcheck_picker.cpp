#include "search/movepicker.h"
#include "tools/picker_check.h"
#include "tools/selfcheck.h"

bool runMovePickerOrderTest() {
    return PickerCheck<MovePicker>().run();
}
