! SPDX-License-Identifier: Apache-2.0
! The code of Queue.bundle in Fortran 2003: what velto/alert_bundle.h says, as far as it is needed here.
module queue
  use, intrinsic :: iso_c_binding
  implicit none

  integer(c_int32_t), bind(C, name="velto_alert_bundle_interface") :: interface_version = 1

  ! velto_host up to the last function that is used here, in its order.
  type, bind(C) :: host_table
    integer(c_int32_t) :: interface_version
    integer(c_int32_t) :: size
    type(c_funptr) :: register_email_formatter
    type(c_funptr) :: text_append
    type(c_funptr) :: text_create, text_destroy, text_bytes, error_set
    type(c_funptr) :: alert_identifier, alert_type, alert_bundle, alert_date
    type(c_funptr) :: alert_subject
    type(c_funptr) :: alert_message
    type(c_funptr) :: register_alert_class
    type(c_funptr) :: register_action_class, names_append
    type(c_funptr) :: alert_attribute_text, alert_attribute_number, text_append_number
    type(c_funptr) :: register_default_alert_class
    type(c_funptr) :: alert_attribute
    type(c_funptr) :: alert_attributes_each, value_kind, value_integer, value_unsigned, value_real
    type(c_funptr) :: value_boolean, value_date, value_bytes, value_count, value_at, value_for_key
    type(c_funptr) :: value_each, alert_json, alert_bundle_name, alert_type_name
    type(c_funptr) :: text_append_value
  end type

  ! velto_alert_class
  type, bind(C) :: alert_class
    type(c_funptr) :: subject = c_null_funptr
    type(c_funptr) :: message = c_null_funptr
    type(c_funptr) :: recovery_options = c_null_funptr
  end type

  abstract interface
    integer(c_int) function register_function(registry, name, class) bind(C)
      import
      type(c_ptr), value :: registry
      character(kind=c_char), intent(in) :: name(*)
      type(alert_class), intent(in) :: class
    end function
    integer(c_int) function text_function(alert, localization, text) bind(C)
      import
      type(c_ptr), value :: alert, localization, text
    end function
    type(c_ptr) function attribute_function(alert, name) bind(C)
      import
      type(c_ptr), value :: alert
      character(kind=c_char), intent(in) :: name(*)
    end function
    subroutine append_function(text, bytes, length) bind(C)
      import
      type(c_ptr), value :: text
      character(kind=c_char), intent(in) :: bytes(*)
      integer(c_size_t), value :: length
    end subroutine
    subroutine append_value_function(text, value, localization) bind(C)
      import
      type(c_ptr), value :: text, value, localization
    end subroutine
  end interface

  type(host_table), pointer :: host => null()
  type(alert_class), target, save :: long_queue

contains

  ! What the data says, and the date in the reader's language behind it.
  integer(c_int) function message(alert, localization, text) bind(C, name="")
    type(c_ptr), value :: alert, localization, text
    procedure(text_function), pointer :: alert_message
    procedure(attribute_function), pointer :: alert_attribute
    procedure(append_function), pointer :: text_append
    procedure(append_value_function), pointer :: text_append_value
    call c_f_procpointer(host%alert_message, alert_message)
    call c_f_procpointer(host%alert_attribute, alert_attribute)
    call c_f_procpointer(host%text_append, text_append)
    call c_f_procpointer(host%text_append_value, text_append_value)
    message = alert_message(alert, localization, text)
    call text_append(text, " ", 1_c_size_t)
    call text_append_value(text, alert_attribute(alert, "since" // c_null_char), localization)
  end function

  integer(c_int) function register_bundle(daemon, registry) bind(C, name="velto_alert_bundle_register")
    type(c_ptr), value :: daemon, registry
    procedure(register_function), pointer :: register_alert_class
    call c_f_pointer(daemon, host)
    register_bundle = 1
    if (host%size < c_sizeof(host)) return ! a daemon of an earlier time
    long_queue%message = c_funloc(message)
    call c_f_procpointer(host%register_alert_class, register_alert_class)
    register_bundle = register_alert_class(registry, "Long" // c_null_char, long_queue)
  end function

end module
