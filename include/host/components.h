/* The components that the datetime module sets, as its third input selects them. Plain C,
 * which needs nothing of the host. */
#ifndef PLX_HOST_COMPONENTS_H
#define PLX_HOST_COMPONENTS_H

/* A selector of the module, as its number. */
typedef enum paComponent {
  paYEAR = 3,
  paQUARTER = 6,       /* to its first month; the day of the month is kept, and carries */
  paMONTH = 7,         /* January is 1 */
  paWEEK_OF_YEAR = 9,  /* weeks begin on Sunday */
  paDAY_OF_MONTH = 11, /* 12 is the same */
  paDAY_OF_YEAR = 13,
  paDAY_OF_WEEK = 14, /* Sunday is 1 */
  paHOUR = 18,
  paMINUTE = 19,
  paSECOND = 20,     /* takes a fraction */
  paTIME_OF_DAY = 21 /* seconds since midnight, with a fraction */
} paComponent;

#endif
