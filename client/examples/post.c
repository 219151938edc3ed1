/* SPDX-License-Identifier: Apache-2.0 */
/* Posts an alert with one attribute of each kind.
 * usage: post BUNDLE TYPE */
#include <stdio.h>
#include <time.h>

#include <velto/alerts.h>

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s BUNDLE TYPE\n", argv[0]);
    return 2;
  }
  const unsigned char digest[] = {0xde, 0xad, 0x00, 0xef};

  velto_post* post = velto_post_new(argv[1], argv[2]);
  velto_post_set_text(post, "device", "/dev/sda1");
  velto_post_set_integer(post, "bytes", 9007199254740993);
  velto_post_set_real(post, "load", 0.93);
  velto_post_set_date(post, "since", (double)time(NULL));
  velto_post_set_data(post, "digest", digest, sizeof digest);

  /* What a setter could not set is told here as well. */
  const int failed = velto_post_send(post);
  if (failed) {
    const velto_post_failure* why = velto_post_error(post);
    fprintf(stderr, "%s: %s (%s %lld)%s\n", argv[0], why->description, why->domain,
            (long long)why->code, why->may_have_been_carried_out ? "; it may be posted" : "");
  } else {
    printf("%s\n", velto_post_identifier(post));
  }
  velto_post_free(post);
  return failed ? 1 : 0;
}
