/* A user program: plain C against the installed headers and libraries. */
#include <stdio.h>

#include <oxl/oxl.h>
#include <oxl/omp_services.h>

int main(void) {
  void* p = oxl_serv_allocate(64, 128);
  if (p == NULL || ((size_t)p % 128) != 0) return 1;
  oxl_serv_deallocate(p);
  if (oxl_services_omp_ss()->thread_count() < 1) return 2;
  printf("oxl consumer: SIMD target %s\n", oxl_dft_pvk_simd_target());
  return 0;
}
