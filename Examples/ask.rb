#!/usr/bin/env ruby
# A host in Ruby, by the standard library alone. Asks a question, then reports that the first article
# resolved it and that the second one did not.
#
#   PELLIX_ACCOUNT_URL=https://... PELLIX_TOKEN=... ask.rb QUESTION
#
# PELLIX_LIBRARY may name the library's file, PELLIX_CERTIFICATES a file of certificates to trust.
require 'fiddle/import'

module Pellix
  extend Fiddle::Importer
  dlload ENV.fetch('PELLIX_LIBRARY', 'libPellixProvidersSDK.so.1')
  text = 'char*, size_t'
  callback = 'void*, void*, void*' # function, context, release of the context
  ["char QVLMainQueue_takeAllCallbacks()", "char QVLMainQueue_runFor(int64_t)", "void QVLRetain(void*)",
   "char* QVLError_domain(void*, size_t*)", "int64_t QVLError_code(void*)",
   "char* QVLError_localizedDescription(void*, size_t*)",
   "char QVLCoreLogger_setSink(#{callback})", "void* QVLQuorvelConfiguration_init()",
   "char QVLQuorvelConfiguration_setToken(void*, #{text})",
   "char QVLQuorvelConfiguration_setCertificateAuthorities(void*, #{text})",
   "void* QVLQuorvel_initialize(#{([text] * 3).join(', ')}, void*, void*)",
   "char QVLQuorvel_waitUntilIdle(void*, int64_t)", "char QVLQuorvel_shutDown(int64_t)",
   "void* QVLVeltrane_initialize(void*)",
   "void QVLPellix_initializeWithQuorvel_veltrane(void*, void*)", "void* QVLPellix_instance()",
   "void* QVLPellix_provider(void*)",
   "void QVLPellixProvider_getDeflectionForQueryWithQuery_callback(void*, #{text}, #{callback})",
   "void QVLPellixProvider_resolveWithArticleWithDeflectionId_articleId_interactionAccessToken_callback(" \
   "void*, int64_t, int64_t, #{text}, #{callback})",
   "void QVLPellixProvider_rejectWithArticleWithDeflectionId_articleId_interactionAccessToken_reason_callback(" \
   "void*, int64_t, int64_t, #{text}, int64_t, #{callback})",
   "void* QVLDeflectionResponse_deflection(void*)", "int64_t QVLDeflection_deflectionID(void*)",
   "size_t QVLDeflectionResponse_deflectionArticles_count(void*)",
   "void* QVLDeflectionResponse_deflectionArticles_at(void*, size_t)",
   "char* QVLDeflectionResponse_interactionAccessToken(void*, size_t*)",
   "char* QVLDeflectionArticle_title(void*, size_t*)",
   "int64_t QVLDeflectionArticle_articleId(void*)"].each { |signature| extern signature }

  RELEASE = Fiddle::Function.new(handler['QVLRelease'], [Fiddle::TYPE_VOIDP], Fiddle::TYPE_VOID)

  class Failure < StandardError; end

  # A reference that is given back when Ruby lets go of it.
  def self.owned(object) = Fiddle::Pointer.new(object.to_i, 0, RELEASE)

  def self.retained(object)
    self.QVLRetain(object)
    owned(object)
  end

  def self.text(function, object)
    length = Fiddle::Pointer.malloc(Fiddle::SIZEOF_SIZE_T, Fiddle::RUBY_FREE)
    bytes = public_send(function, object, length)
    bytes[0, length[0, Fiddle::SIZEOF_SIZE_T].unpack1('J')].force_encoding('UTF-8')
  end

  def self.failure(error)
    Failure.new("#{text(:QVLError_domain, error)} (#{self.QVLError_code(error)}): " \
                "#{text(:QVLError_localizedDescription, error)}")
  end

  def self.closure(*types, &block) = Fiddle::Closure::BlockCaller.new(Fiddle::TYPE_VOID, types, &block)

  CALLBACKS = [] # that the library may still call
  SIGNALS = [] # that have come: raised within a closure, an exception would jump over the library

  # What an operation ends with, while the main queue runs.
  def self.await(function, *arguments)
    ended = false
    result = Failure.new('The operation ended without an answer.')
    finished = closure(*[Fiddle::TYPE_VOIDP] * 3) do |record, error, _|
      result = error.null? ? retained(record) : failure(error)
    end
    released = closure(Fiddle::TYPE_VOIDP) { ended = true }
    CALLBACKS.push(finished, released)
    public_send(function, *arguments, finished, nil, released)
    until ended
      self.QVLMainQueue_runFor(100)
      raise SignalException, SIGNALS.first if SIGNALS.any?
    end
    CALLBACKS.pop(2)
    raise result if result.is_a?(Failure)

    result
  end
end

def sized(text) = [text, text.bytesize]

def set_up(url, token, certificates)
  configuration = Pellix.owned(Pellix.QVLQuorvelConfiguration_init)
  Pellix.QVLQuorvelConfiguration_setToken(configuration, *sized(token))
  if certificates
    Pellix.QVLQuorvelConfiguration_setCertificateAuthorities(configuration, *sized(certificates))
  end
  error = Fiddle::Pointer.malloc(Fiddle::SIZEOF_VOIDP, Fiddle::RUBY_FREE)
  quorvel = Pellix.QVLQuorvel_initialize(*sized(url), *sized('ask'), *sized('example'),
                                         configuration, error)
  raise Pellix.failure(Pellix.owned(error.ptr)) if quorvel.null?

  Pellix.QVLPellix_initializeWithQuorvel_veltrane(
    quorvel, Pellix.owned(Pellix.QVLVeltrane_initialize(quorvel))
  )
  Pellix.owned(quorvel)
end

def journey(question)
  provider = Pellix.QVLPellix_provider(Pellix.QVLPellix_instance)
  answer = Pellix.await(:QVLPellixProvider_getDeflectionForQueryWithQuery_callback, provider,
                        *sized(question))
  articles = Array.new(Pellix.QVLDeflectionResponse_deflectionArticles_count(answer)) do |index|
    Pellix.QVLDeflectionResponse_deflectionArticles_at(answer, index)
  end
  articles.each.with_index(1) do |article, rank|
    puts "#{rank}. #{Pellix.text(:QVLDeflectionArticle_title, article).inspect}"
  end
  return if articles.size < 2

  deflection = Pellix.QVLDeflection_deflectionID(Pellix.QVLDeflectionResponse_deflection(answer))
  token = Pellix.text(:QVLDeflectionResponse_interactionAccessToken, answer)
  first, second = articles.first(2).map { |each| Pellix.QVLDeflectionArticle_articleId(each) }
  report = 'WithDeflectionId_articleId_interactionAccessToken_'
  Pellix.await("QVLPellixProvider_resolveWithArticle#{report}callback", provider,
               deflection, first, *sized(token))
  puts "Resolved by article #{first}."
  Pellix.await("QVLPellixProvider_rejectWithArticle#{report}reason_callback", provider,
               deflection, second, *sized(token), 2)
  puts "Rejected article #{second}."
end

unless ARGV.size == 1 && ENV.key?('PELLIX_ACCOUNT_URL') && ENV.key?('PELLIX_TOKEN')
  abort "Usage: PELLIX_ACCOUNT_URL=... PELLIX_TOKEN=... #{$PROGRAM_NAME} QUESTION"
end
# Ruby can be called on its own threads alone: everything comes where the main queue is run.
Pellix.QVLMainQueue_takeAllCallbacks
LOG = Pellix.closure(Fiddle::TYPE_INT, Fiddle::TYPE_VOIDP, Fiddle::TYPE_SIZE_T,
                     Fiddle::TYPE_VOIDP) { |_, line, length, _| warn line[0, length] }
Pellix.QVLCoreLogger_setSink(LOG, nil, nil)
%w[INT TERM].each { |name| trap(name) { Pellix::SIGNALS.push(name) } }
at_exit { Pellix.QVLQuorvel_shutDown(10_000) }
begin
  quorvel = set_up(ENV['PELLIX_ACCOUNT_URL'], ENV['PELLIX_TOKEN'], ENV['PELLIX_CERTIFICATES'])
  journey(ARGV[0])
  Pellix.QVLQuorvel_waitUntilIdle(quorvel, 10_000) # the vote may still be on its way
rescue Pellix::Failure => reason
  abort reason.message
end
