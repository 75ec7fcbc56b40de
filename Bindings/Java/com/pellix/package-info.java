/**
 * Asks an account's answer service for articles that may answer a person's question, and reports
 * which one did. {@link com.pellix.PellixClient} is the entry.
 */
package com.pellix;
