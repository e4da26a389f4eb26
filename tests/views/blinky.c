/*********************************************************************
*                Blinks an LED and counts how often.                 *
**********************************************************************/
#include "board.h"
#include <stdint.h>

#define LED_PIN   5u
#define PERIOD_MS 250u

typedef struct {
	uint32_t NumToggles; // since start
	uint32_t LastTick;
	const char* sName;
} LED_STATE;

static volatile uint32_t _Ticks;
static LED_STATE _Led = { 0, 0, "user LED" };

/* Called once a millisecond. */
void SysTick_Handler(void) {
	_Ticks++;
}

static int _IsDue(uint32_t Now) {
	return (Now - _Led.LastTick) >= PERIOD_MS;
}

static void _Toggle(uint32_t Now) {
	BOARD_TogglePin(LED_PIN);
	_Led.NumToggles += 1;
	_Led.LastTick = Now;
#if defined(TRACE_LED)
	BOARD_Log("%s: %u\n", _Led.sName, _Led.NumToggles);
#endif
}

int main(void) {
	BOARD_Init();
	for (;;) {
		const uint32_t Now = _Ticks;
		if (_IsDue(Now)) {
			_Toggle(Now);
		}
	}
	return 0;
}
