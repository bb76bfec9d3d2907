/* The same walk as walk.py, in C with libatspi: for every window of every program at most 120 elements depth-first,
 * each with role, name, description, screen extents, states and children.
 *
 * Answers each line "scan" with "windows elements milliseconds processor-milliseconds". */

#include <atspi/atspi.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

enum { ELEMENTS_PER_WINDOW = 120 };

static double milliseconds(clockid_t clock) {
  struct timespec now;
  clock_gettime(clock, &now);
  return (double)now.tv_sec * 1e3 + (double)now.tv_nsec / 1e6;
}

static void readElement(AtspiAccessible* element) {
  AtspiComponent* component;
  AtspiStateSet* states;

  (void)atspi_accessible_get_role(element, NULL);
  g_free(atspi_accessible_get_name(element, NULL));
  g_free(atspi_accessible_get_description(element, NULL));
  component = atspi_accessible_get_component_iface(element);
  if (component != NULL) {
    g_free(atspi_component_get_extents(component, ATSPI_COORD_TYPE_SCREEN, NULL));
    g_object_unref(component);
  }
  states = atspi_accessible_get_state_set(element);
  if (states != NULL) {
    GArray* list = atspi_state_set_get_states(states);
    g_array_free(list, TRUE);
    g_object_unref(states);
  }
}

static int walk(AtspiAccessible* element, int budget) {
  int count = 1;
  int children;

  readElement(element);
  children = atspi_accessible_get_child_count(element, NULL);
  for (int index = 0; index < children && count < budget; ++index) {
    AtspiAccessible* child = atspi_accessible_get_child_at_index(element, index, NULL);
    if (child == NULL) continue;
    count += walk(child, budget - count);
    g_object_unref(child);
  }
  return count;
}

static void scan(int* windows, int* elements) {
  AtspiAccessible* desktop = atspi_get_desktop(0);
  const int programs = atspi_accessible_get_child_count(desktop, NULL);

  for (int place = 0; place < programs; ++place) {
    AtspiAccessible* program = atspi_accessible_get_child_at_index(desktop, place, NULL);
    if (program == NULL) continue;
    const int tops = atspi_accessible_get_child_count(program, NULL);
    for (int index = 0; index < tops; ++index) {
      AtspiAccessible* window = atspi_accessible_get_child_at_index(program, index, NULL);
      if (window == NULL) continue;
      ++*windows;
      *elements += walk(window, ELEMENTS_PER_WINDOW);
      g_object_unref(window);
    }
    g_object_unref(program);
  }
  g_object_unref(desktop);
}

int main(void) {
  char line[64];

  atspi_init();
  while (fgets(line, sizeof(line), stdin) != NULL) {
    if (strcmp(line, "scan\n") != 0) continue;
    const double began = milliseconds(CLOCK_MONOTONIC);
    const double processorBegan = milliseconds(CLOCK_PROCESS_CPUTIME_ID);
    int windows = 0;
    int elements = 0;
    scan(&windows, &elements);
    printf("%d %d %.3f %.3f\n", windows, elements, milliseconds(CLOCK_MONOTONIC) - began,
           milliseconds(CLOCK_PROCESS_CPUTIME_ID) - processorBegan);
    fflush(stdout);
  }
  return 0;
}
