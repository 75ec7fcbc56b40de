package com.pellix;

/**
 * Why an article was rejected. What each reason means is between the account and its answer
 * service.
 */
public enum RejectionReason {
  /** The reason with the number 0. */
  REASON_0,
  /** The reason with the number 1. */
  REASON_1,
  /** The reason with the number 2. */
  REASON_2
}
